// What /proc says about user-space processes, read afresh on every call. A
// process may end between two reads; every function then answers as though
// it had never existed.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace quillon {

// The ids of the user-space processes (kernel threads left out), ascending;
// nothing when /proc cannot be read through.
std::optional<std::vector<pid_t>> userSpaceProcessIds();

// True when `id` names a user-space process: not a kernel thread, and not a
// thread of another process (those answer in /proc but are not listed).
bool isUserSpaceProcess(pid_t id);

// The name a user of process tools knows the process by: its command name,
// extended to the base name of its executable, or of its first command-line
// word, when the kernel cut the command name at 15 characters. Nothing when
// the process is gone.
std::optional<std::string> applicationName(pid_t id);

}  // namespace quillon
