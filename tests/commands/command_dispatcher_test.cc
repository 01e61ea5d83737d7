#include "commands/command_dispatcher.h"

#include <gtest/gtest.h>

#include "commands/command_replies.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

// A dispatcher over two commands that record which of them ran.
class DispatcherTest : public ::testing::Test {
 protected:
  CommandDispatcher dispatcher_{CommandList{
      {"window::killProcess", [this](const MethodCall&, ReplyCallback reply) { answer("window", std::move(reply)); }},
      {"process::killProcess", [this](const MethodCall&, ReplyCallback reply) { answer("process", std::move(reply)); }},
  }};
  std::vector<std::string> ran_;

  ChannelReply dispatch(const std::string& method) {
    testing::ReplyRecorder recorder;
    dispatcher_.handle(MethodCall{method, {}}, recorder.callback());
    EXPECT_EQ(recorder.replies().size(), 1u) << method;
    return recorder.only();
  }

 private:
  void answer(const std::string& which, ReplyCallback reply) {
    ran_.push_back(which);
    std::move(reply).success(ChannelValue(which));
  }
};

TEST_F(DispatcherTest, ExactNameSelectsItsCommand) {
  EXPECT_EQ(dispatch("process::killProcess"), ChannelReply::success(ChannelValue("process")));
  EXPECT_EQ(ran_, std::vector<std::string>{"process"});
}

TEST_F(DispatcherTest, NearMissesAnswerNotImplementedAndRunNothing) {
  for (const char* method : {"process::KillProcess", "Process::killProcess", " process::killProcess",
                             "process::killProcess ", "process::killProces", "process::killProcessX",
                             "killProcess", "ssl::killProcess", ""}) {
    EXPECT_EQ(dispatch(method), ChannelReply::notImplemented()) << '"' << method << '"';
  }
  EXPECT_TRUE(ran_.empty());
}

ChannelValue argumentsWith(ChannelValue key, ChannelValue value) {
  ChannelMap map;
  map.set(std::move(key), std::move(value));
  return ChannelValue(std::move(map));
}

TEST(RequireProcessIdTest, AnswersInvalidArgumentUnlessAnIntegerProcessIdIsThere) {
  const ChannelReply expected = ChannelReply::error("INVALID_ARGUMENT", "Expected processId");
  const std::vector<std::pair<const char*, ChannelValue>> refused = {
      {"null arguments", ChannelValue()},
      {"list arguments", ChannelValue(ChannelList{ChannelValue(1)})},
      {"missing key", argumentsWith("windowHandle", ChannelValue(1))},
      {"double", argumentsWith("processId", ChannelValue(1.0))},
      {"boolean", argumentsWith("processId", ChannelValue(true))},
      {"string", argumentsWith("processId", ChannelValue("1"))},
      {"non-string key beside it", [] {
         ChannelMap map;
         map.set("processId", ChannelValue(1));
         map.set(ChannelValue(0), ChannelValue(1));
         return ChannelValue(std::move(map));
       }()},
  };
  for (const auto& [label, arguments] : refused) {
    testing::ReplyRecorder recorder;
    ReplyCallback reply = recorder.callback();
    EXPECT_FALSE(requireProcessId(MethodCall{"process::isAlive", arguments}, reply).has_value()) << label;
    EXPECT_EQ(recorder.only(), expected) << label;
  }
}

TEST(RequireProcessIdTest, LeavesTheReplyToTheCommandWhenTheIdIsThere) {
  testing::ReplyRecorder recorder;
  ReplyCallback reply = recorder.callback();
  ChannelMap map;
  map.set("processId", ChannelValue(std::int64_t{-1}));
  map.set("extra", ChannelValue("ignored"));
  EXPECT_EQ(requireProcessId(MethodCall{"process::isAlive", ChannelValue(map)}, reply), -1);
  EXPECT_TRUE(recorder.replies().empty());
  std::move(reply).success();
}

}  // namespace
}  // namespace quillon
