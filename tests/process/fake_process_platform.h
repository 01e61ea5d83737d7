// Fakes of the platforms that ProcessManager asks, for exact cases: each
// records what it was asked and answers what the test set.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/running_applications.h"
#include "platform/script_runner.h"
#include "process/process_environment.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/fake_tool_runner.h"
#include "tests/support/fake_window_list.h"

namespace quillon::testing {

struct FakeRunningApplications final : RunningApplications {
  std::vector<RunningApplication> list() override { return applications; }
  std::vector<RunningApplication> applications;
};

struct FakeScriptRunner final : ScriptRunner {
  using Result = Expected<std::optional<std::string>, ScriptFailure>;
  Result run(const std::string& source) override {
    sources.push_back(source);
    return result;
  }
  Result result = ScriptFailure{};
  std::vector<std::string> sources;
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
