// ProcessEnvironment: the platform that the process services ask. The owner of
// the implementations keeps them alive for as long as any ProcessManager uses them.
#pragma once

#include "platform/diagnostics.h"
#include "platform/main_window_handles.h"
#include "platform/process_ends.h"
#include "platform/running_applications.h"
#include "platform/tool_runner.h"
#include "platform/window_list.h"

namespace quillon {

struct ProcessEnvironment {
  ToolRunner& tools;
  RunningApplications& applications;
  MainWindowHandles& handles;
  WindowList& windows;
  Diagnostics& diagnostics;
  ProcessEnds& ends;
};

}  // namespace quillon
