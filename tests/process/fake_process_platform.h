// Fakes of the platforms that ProcessManager asks, for exact cases: each
// records what it was asked and answers what the test set.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "platform/running_applications.h"
#include "platform/script_runner.h"
#include "platform/tool_runner.h"
#include "platform/window_list.h"
#include "process/process_environment.h"
#include "tests/support/capturing_diagnostics.h"

namespace quillon::testing {

struct ToolCall {
  std::string executable;
  std::vector<std::string> arguments;
  ToolRunner::Streams streams;

  friend bool operator==(const ToolCall&, const ToolCall&) = default;
};

// A tool run that printed `output` and exited with `exitCode`.
inline ToolRun finishedRun(std::string_view output, int exitCode = 0) {
  ToolRun run;
  run.started = true;
  run.output.assign(output.begin(), output.end());
  run.waitStatus = exitCode << 8;
  return run;
}

inline ToolRun notStartedRun() {
  ToolRun run;
  run.startError = "No such file or directory";
  return run;
}

class FakeToolRunner final : public ToolRunner {
 public:
  std::deque<ToolRun> answers;  // one per run, in order; then empty output
  std::vector<ToolCall> calls;

 protected:
  ToolRun runTool(const std::string& executable, const std::vector<std::string>& arguments, Streams streams,
                  const EnvironmentChanges&) override {
    calls.push_back({executable, arguments, streams});
    if (answers.empty()) return finishedRun("");
    ToolRun answer = answers.front();
    answers.pop_front();
    return answer;
  }
};

class FakeRunningApplications final : public RunningApplications {
 public:
  std::vector<RunningApplication> list() override { return applications; }

  std::vector<RunningApplication> applications;
};

class FakeScriptRunner final : public ScriptRunner {
 public:
  ScriptOutcome run(const std::string& source) override {
    sources.push_back(source);
    return outcome;
  }

  ScriptOutcome outcome;
  std::vector<std::string> sources;
};

class FakeWindowList final : public WindowList {
 public:
  std::optional<std::vector<WindowListEntry>> onScreenWindows() override { return windows; }

  std::optional<std::vector<WindowListEntry>> windows;
};

// The whole fake platform, ready to hand to a ProcessManager.
struct FakeProcessPlatform {
  FakeToolRunner tools;
  FakeRunningApplications applications;
  FakeScriptRunner scripts;
  FakeWindowList windows;
  CapturingDiagnostics diagnostics;

  ProcessEnvironment environment() { return {tools, applications, scripts, windows, diagnostics}; }
};

}  // namespace quillon::testing
