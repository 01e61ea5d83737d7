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

ChannelValue withProcessId(std::int64_t id) { return arguments({{"processId", id}}); }

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

TEST_F(ProcessCommandsTest, TwelveCommandsInRoutingOrder) {
  std::vector<std::string_view> names;
  for (const Command& command : dispatcher.commands()) names.push_back(command.name);
  EXPECT_EQ(names, (std::vector<std::string_view>{
                       "process::getProcessIdList", "process::getCurrentProcessId", "process::getProcessesByName",
                       "process::isAlive", "process::getMainWindowHandle", "process::getMainWindowTitle",
                       "process::closeWindow", "process::killProcess", "process::getProcessName",
                       "process::getProcessFileName", "process::getProcessLaunchArguments",
                       "process::getProcessWorkingDirectory"}));
}

TEST_F(ProcessCommandsTest, CommandsWithoutArgumentsIgnoreWhateverIsSent) {
  for (const ChannelValue& sent : {ChannelValue(), ChannelValue("x"), withProcessId(3)}) {
    platform.tools.answers = {finishedRun("PID\n1\n2\n")};
    EXPECT_EQ(answer("process::getProcessIdList", sent),
              ChannelReply::success(ChannelList{std::int64_t{1}, std::int64_t{2}}));
    EXPECT_EQ(answer("process::getCurrentProcessId", sent), ChannelReply::success(std::int64_t{::getpid()}));
  }
}

TEST_F(ProcessCommandsTest, ProcessesByNamePassesTheNameUnchanged) {
  platform.applications.applications = {{" Finder", 4}, {"Finder", 5}};
  EXPECT_EQ(answer("process::getProcessesByName", arguments({{"name", " Finder"}, {"extra", 1}})),
            ChannelReply::success(ChannelList{std::int64_t{4}}));
  EXPECT_EQ(answer("process::getProcessesByName", arguments({{"name", "Mail"}})), ChannelReply::success(ChannelList{}));
}

TEST_F(ProcessCommandsTest, ProcessesByNameWithoutAStringNameIsRefused) {
  const ChannelReply refused = ChannelReply::error("INVALID_ARGUMENT", "Expected process name");
  for (const ChannelValue& sent : {ChannelValue(), ChannelValue(ChannelList{}), arguments({{"name", 5}}),
                                   arguments({{"processName", "Finder"}}), arguments({{1, "Finder"}})}) {
    EXPECT_EQ(answer("process::getProcessesByName", sent), refused);
  }
}

TEST_F(ProcessCommandsTest, ProcessIdCommandsRefuseAMissingOrMistypedId) {
  const ChannelReply refused = ChannelReply::error("INVALID_ARGUMENT", "Expected processId");
  for (std::size_t position = 3; position < 12; ++position) {
    const std::string method(dispatcher.commands()[position].name);
    for (const ChannelValue& sent : {ChannelValue(), ChannelValue(std::int64_t{5}), arguments({{"pid", 5}}),
                                     arguments({{"processId", "5"}}), arguments({{"processId", 5.0}}),
                                     arguments({{"processId", true}})}) {
      EXPECT_EQ(answer(method, sent), refused) << method;
    }
  }
  EXPECT_TRUE(platform.tools.calls.empty());
  EXPECT_TRUE(platform.scripts.sources.empty());
}

TEST_F(ProcessCommandsTest, ProcessIdCommandsAnswerWhatTheOperationGives) {
  platform.scripts.outcome = {ScriptOutcome::Kind::kResult, "", "77"};
  platform.windows.windows = std::vector<WindowListEntry>{{77, "Main", std::nullopt}};
  const std::pair<std::string, ChannelReply> cases[] = {
      {"process::isAlive", ChannelReply::success(true)},
      {"process::getMainWindowHandle", ChannelReply::success("77")},
      {"process::getMainWindowTitle", ChannelReply::success("Main")},
      {"process::closeWindow", ChannelReply::success(true)},
      {"process::killProcess", ChannelReply::success(true)},
      {"process::getProcessName", ChannelReply::success("sleep")},
      {"process::getProcessFileName", ChannelReply::success("/bin/sleep 100")},
      {"process::getProcessLaunchArguments", ChannelReply::success("/bin/sleep 100")},
      {"process::getProcessWorkingDirectory", ChannelReply::success("Unknown")},
  };
  platform.tools.answers = {finishedRun("PID\n77\n"),   finishedRun(""),
                            finishedRun(""),            finishedRun("sleep\n"),
                            finishedRun("/bin/sleep 100\n"), finishedRun("/bin/sleep 100\n")};
  for (const auto& [method, reply] : cases) EXPECT_EQ(answer(method, withProcessId(77)), reply) << method;
  EXPECT_EQ(platform.tools.calls.size(), 6u);
}

TEST_F(ProcessCommandsTest, LookupFailuresAnswerUnavailable) {
  platform.scripts.outcome = {ScriptOutcome::Kind::kFailed, "{number = -1}", std::nullopt};
  EXPECT_EQ(answer("process::getMainWindowHandle", withProcessId(1)),
            ChannelReply::error("UNAVAILABLE", "Main window handle not found"));
  EXPECT_EQ(answer("process::getMainWindowTitle", withProcessId(1)),
            ChannelReply::error("UNAVAILABLE", "Main window title not found"));
}

}  // namespace
}  // namespace quillon
