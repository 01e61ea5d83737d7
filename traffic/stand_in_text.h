// What the main window's stand-in view says where the interface's view would
// be: what this build is, and how to call it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillon {

// The sentence that says what the window is, with the number of interfaces
// connected: "... no interface is connected.", "... 1 interface is
// connected.", "... 2 interfaces are connected.".
std::string linkSentence(std::size_t connections);

// The quillon-call line that calls the host serving `socketPath`, from a
// terminal of the same session: the socket named (QUILLON_INTERFACE_SOCKET,
// quoted for the shell) when it is not `usualSocketPath`, the one quillon-call
// finds by itself. Valid UTF-8 whatever the path's bytes.
std::string callLine(std::string_view socketPath, std::string_view usualSocketPath);

// The path as text: valid UTF-8 whatever its bytes.
std::string pathText(std::string_view path);

}  // namespace quillon
