#include "traffic/stand_in_text.h"

#include "channel/utf8_text.h"

namespace quillon {
namespace {

bool safeForTheShell(std::string_view text) {
  for (const char character : text) {
    const bool letterOrDigit = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                               (character >= '0' && character <= '9');
    if (!letterOrDigit && std::string_view("/._-+,:=@%").find(character) == std::string_view::npos) return false;
  }
  return !text.empty();
}

// In single quotes, each of its own as '\''.
std::string shellQuoted(std::string_view text) {
  if (safeForTheShell(text)) return std::string(text);
  std::string quoted = "'";
  for (const char character : text) quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
  return quoted + "'";
}

}  // namespace

std::string linkSentence(std::size_t connections) {
  const std::string count = connections == 0   ? "no interface is connected"
                            : connections == 1 ? "1 interface is connected"
                                               : std::to_string(connections) + " interfaces are connected";
  return "This build shows no view of its own: it serves the interface over the link, and " + count + ".";
}

std::string callLine(std::string_view socketPath, std::string_view usualSocketPath) {
  std::string line = "quillon-call assembly::getExecutingAssemblyPath";
  if (socketPath != usualSocketPath) line = "QUILLON_INTERFACE_SOCKET=" + shellQuoted(socketPath) + " " + line;
  return toUtf8Text(line);
}

std::string pathText(std::string_view path) { return toUtf8Text(path); }

}  // namespace quillon
