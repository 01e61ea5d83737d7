// A ToolRunner for exact cases: it records every run and answers what the test
// queued, then `answer` once the queue is empty.
#pragma once

#include <chrono>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "platform/tool_runner.h"

namespace quillon::testing {

struct ToolCall {
  std::string executable;
  std::vector<std::string> arguments;
  ToolRunner::Streams streams;
  std::chrono::milliseconds timeLimit;
  friend bool operator==(const ToolCall&, const ToolCall&) = default;
};

// A tool run that printed `output` and exited with `exitCode`.
inline Expected<ToolRun> finishedRun(std::string_view output, int exitCode = 0) {
  return ToolRun{.output = {output.begin(), output.end()}, .waitStatus = exitCode << 8};
}

inline Expected<ToolRun> notStartedRun() { return Failure{"No such file or directory"}; }

class FakeToolRunner final : public ToolRunner {
 public:
  std::deque<Expected<ToolRun>> answers;
  Expected<ToolRun> answer = finishedRun("");
  std::vector<ToolCall> calls;

  void endAllRuns() override {}

 protected:
  Expected<ToolRun> runTool(const std::string& executable, const std::vector<std::string>& arguments, Streams streams,
                            std::chrono::milliseconds timeLimit, const EnvironmentChanges&) override {
    calls.push_back({executable, arguments, streams, timeLimit});
    if (answers.empty()) return answer;
    Expected<ToolRun> next = std::move(answers.front());
    answers.pop_front();
    return next;
  }
};

}  // namespace quillon::testing
