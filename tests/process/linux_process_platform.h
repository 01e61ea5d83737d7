// The real Linux platform of the process services, and a ProcessManager over
// it, for the tests that run against the machine's (or a namespace's) processes.
#pragma once

#include "platform/linux/desktop/x11_window_list.h"
#include "platform/linux/process/pidfd_process_ends.h"
#include "platform/linux/process/posix_tool_runner.h"
#include "platform/linux/process/proc_main_window_handles.h"
#include "platform/linux/process/proc_running_applications.h"
#include "process/process_manager.h"
#include "tests/support/capturing_diagnostics.h"

namespace quillon::testing {

struct LinuxProcessPlatform {
  PosixToolRunner tools;
  ProcRunningApplications applications;
  ProcMainWindowHandles handles;
  X11WindowList windows;
  CapturingDiagnostics diagnostics;
  PidfdProcessEnds ends;
  ProcessManager manager{ProcessEnvironment{tools, applications, handles, windows, diagnostics, ends}};
};

}  // namespace quillon::testing
