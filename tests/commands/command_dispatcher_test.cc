#include "commands/command_dispatcher.h"

#include <gtest/gtest.h>

#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

// Two commands of one name in two families, that record which of them ran.
// (requireProcessId's refusals are process_commands_test's, through every command that uses it.)
TEST(CommandDispatcherTest, OnlyTheExactNameSelectsItsCommand) {
  std::vector<std::string> ran;
  const auto command = [&ran](std::string family) {
    return [&ran, family](const MethodCall&, ReplyCallback reply) {
      ran.push_back(family);
      std::move(reply).success(ChannelValue(family));
    };
  };
  const CommandDispatcher dispatcher{
      CommandList{{"window::killProcess", command("window")}, {"process::killProcess", command("process")}}};
  const auto dispatch = [&dispatcher](const std::string& method) {
    testing::ReplyRecorder recorder;
    dispatcher.handle(MethodCall{method, {}}, recorder.callback());
    EXPECT_EQ(recorder.replies().size(), 1u) << method;
    return recorder.only();
  };
  EXPECT_EQ(dispatch("process::killProcess"), ChannelReply::success("process"));
  EXPECT_EQ(ran, std::vector<std::string>{"process"});
  for (const char* method : {"process::KillProcess", "Process::killProcess", " process::killProcess",
                             "process::killProcess ", "process::killProces", "process::killProcessX", "killProcess",
                             "ssl::killProcess", ""}) {
    EXPECT_EQ(dispatch(method), ChannelReply::notImplemented()) << '"' << method << '"';
  }
  EXPECT_EQ(ran, std::vector<std::string>{"process"});
}

}  // namespace
}  // namespace quillon
