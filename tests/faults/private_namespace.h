// Starting the host in namespaces of its own, so that a fault made for it (a
// tool made unexecutable, a read-only or full directory) is seen by it alone
// and goes with it. Making them needs root, which CI has.
#pragma once

#include <unistd.h>

#include <string>
#include <vector>

namespace quillon::testing {

inline bool canMakeNamespaces() { return ::geteuid() == 0; }

// A launcher for HostProcess::Layout: a private mount namespace in which
// `commands` (sh, stopping at the first failure, with the host's environment,
// so $HOME and $TMPDIR are the host's) run before the host. With `ownPids` the
// host is process 1 of a process namespace of its own, so nothing it signals
// is a process of the machine.
inline std::vector<std::string> inPrivateMounts(const std::string& commands, bool ownPids = false) {
  std::vector<std::string> launcher{"/usr/bin/unshare", "--mount", "--propagation", "private"};
  if (ownPids) launcher.insert(launcher.end(), {"--pid", "--fork", "--mount-proc", "--kill-child"});
  launcher.insert(launcher.end(), {"/bin/sh", "-ec", commands + "\nexec \"$0\""});
  return launcher;
}

}  // namespace quillon::testing
