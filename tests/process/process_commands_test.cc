// The "process::" catalogue over fakes: argument checks, and each name reaches
// its operation. What the operations do is process_manager_test's.
#include "commands/process_commands.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "commands/command_dispatcher.h"
#include "process/process_manager.h"
#include "tests/process/fake_process_platform.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using testing::finishedRun;

ChannelValue arguments(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

class ProcessCommandsTest : public ::testing::Test {
 protected:
  ChannelReply answer(const std::string& method, ChannelValue callArguments = {}) {
    testing::ReplyRecorder recorder;
    dispatcher.handle(MethodCall{method, std::move(callArguments)}, recorder.callback());
    EXPECT_EQ(recorder.replies().size(), 1u) << method;
    return recorder.only();
  }

  testing::FakeProcessPlatform platform;
  ProcessManager manager{platform.environment()};
  CommandDispatcher dispatcher{processCommands([this]() -> ProcessManager& { return manager; })};
};

TEST_F(ProcessCommandsTest, CommandsWithoutArgumentsIgnoreWhateverIsSent) {
  for (const ChannelValue& sent : {ChannelValue(), ChannelValue("x"), arguments({{"processId", 3}})}) {
    platform.tools.answers = {finishedRun("PID\n1\n2\n")};
    EXPECT_EQ(answer("process::getProcessIdList", sent),
              ChannelReply::success(ChannelList{std::int64_t{1}, std::int64_t{2}}));
    EXPECT_EQ(answer("process::getCurrentProcessId", sent), ChannelReply::success(std::int64_t{::getpid()}));
  }
}

TEST_F(ProcessCommandsTest, ProcessesByNameTakesTheNameUnchangedOrIsRefused) {
  platform.applications.applications = {{" Finder", 4}, {"Finder", 5}};
  EXPECT_EQ(answer("process::getProcessesByName", arguments({{"name", " Finder"}, {"extra", 1}})),
            ChannelReply::success(ChannelList{std::int64_t{4}}));
  for (const ChannelValue& sent : {ChannelValue(), ChannelValue(ChannelList{}), arguments({{"name", 5}}),
                                   arguments({{"processName", "Finder"}}), arguments({{1, "Finder"}})}) {
    EXPECT_EQ(answer("process::getProcessesByName", sent),
              ChannelReply::error("INVALID_ARGUMENT", "Expected process name"));
  }
}

// Each command reaches its own operation: the tools answer in the order the
// commands run, and every answer differs from its neighbours'.
TEST_F(ProcessCommandsTest, ProcessIdCommandsAnswerWhatTheirOperationGives) {
  platform.scripts.result = std::optional<std::string>("77");
  platform.windows.windows = std::vector<WindowListEntry>{{77, "Main", std::nullopt}};
  platform.tools.answers = {finishedRun("PID\n77\n"), finishedRun("", 1), finishedRun(""), finishedRun("sleep\n"),
                            finishedRun("/bin/sleep 100\n"), finishedRun("/bin/sleep 1\n")};
  const std::pair<std::string, ChannelReply> cases[] = {
      {"process::isAlive", ChannelReply::success(true)},
      {"process::getMainWindowHandle", ChannelReply::success("77")},
      {"process::getMainWindowTitle", ChannelReply::success("Main")},
      {"process::closeWindow", ChannelReply::success(false)},
      {"process::killProcess", ChannelReply::success(true)},
      {"process::getProcessName", ChannelReply::success("sleep")},
      {"process::getProcessFileName", ChannelReply::success("/bin/sleep 100")},
      {"process::getProcessLaunchArguments", ChannelReply::success("/bin/sleep 1")},
      {"process::getProcessWorkingDirectory", ChannelReply::success("Unknown")},
  };
  for (const auto& [method, reply] : cases) {
    EXPECT_EQ(answer(method, arguments({{"processId", std::int64_t{77}}, {"extra", "x"}})), reply) << method;
  }
  EXPECT_EQ(platform.tools.calls.size(), 6u);
  // Anything but an integer "processId" in a map of string keys is refused, and runs nothing.
  for (const auto& [method, reply] : cases) {
    for (const ChannelValue& sent :
         {ChannelValue(), ChannelValue(std::int64_t{5}), ChannelValue(ChannelList{ChannelValue(5)}), arguments({{"pid", 5}}),
          arguments({{"processId", "5"}}), arguments({{"processId", 5.0}}), arguments({{"processId", true}}),
          arguments({{"processId", 5}, {0, 1}})}) {
      EXPECT_EQ(answer(method, sent), ChannelReply::error("INVALID_ARGUMENT", "Expected processId")) << method;
    }
  }
  EXPECT_EQ(platform.tools.calls.size(), 6u);
  EXPECT_EQ(platform.scripts.sources.size(), 1u);
}

}  // namespace
}  // namespace quillon
