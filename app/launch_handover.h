// A second launch of the application (a double click in the menu, the dock)
// finds the interface link's socket served by a host that runs already. Rather
// than fail, the new process hands the launch over to that host on its
// instance channel, which brings the main window forward when the interface has
// shown it, and ends.
//
// Contract: called on the main thread before any main loop runs. It waits at
// most kHandoverAnswerTime for the running host to take the connection (a
// stopped host's queue stays full), and as long again for its answer. It hands
// the launch only to a host of this user: a program of another user listening
// on the socket (one in a shared directory) gets nothing. Answers the process's
// exit status: 0 when the running host took the launch, 1 when it did not (a
// host without the instance channel, one that is stuck, one that ended
// meanwhile, or another user's program). Says which on standard error.
#pragma once

#include <chrono>
#include <string>

namespace quillon {

inline constexpr std::chrono::seconds kHandoverAnswerTime{10};

// `startupId`: the launch's desktop startup notification, or empty; `refusal`:
// why this process cannot serve the socket itself.
int handOverLaunch(const std::string& socketPath, const std::string& startupId, const std::string& refusal);

}  // namespace quillon
