// The dispatcher, and the reading of arguments that every command shares.
#include "commands/command_dispatcher.h"

#include <gtest/gtest.h>

#include "commands/command_arguments.h"
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

ChannelValue mapOf(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

TEST(CommandArgumentsTest, OnlyMapsWithStringKeysAreArguments) {
  for (const ChannelValue& refused : {ChannelValue(), ChannelValue("processId"), ChannelValue(ChannelList{"processId", 1}),
                                      mapOf({{"processId", 1}, {2, 3}})}) {
    EXPECT_FALSE(CommandArguments::from(refused).has_value());
  }
  const ChannelValue empty = ChannelMap{};
  EXPECT_TRUE(CommandArguments::from(empty).has_value());
}

TEST(CommandArgumentsTest, EachKindTakesOnlyItsOwnValues) {
  const ChannelValue value = mapOf({{"small", std::int32_t{-5}}, {"large", std::int64_t{1} << 40}, {"double", 3.0},
                                   {"bool", true}, {"text", " Finder "}, {"null", nullptr}});
  const auto arguments = CommandArguments::from(value);  // a view of `value`
  ASSERT_TRUE(arguments);
  EXPECT_EQ(arguments->integer("small"), -5);
  EXPECT_EQ(arguments->integer("large"), std::int64_t{1} << 40);
  for (const char* key : {"double", "bool", "text", "null", "absent"}) EXPECT_EQ(arguments->integer(key), std::nullopt) << key;
  ASSERT_NE(arguments->string("text"), nullptr);
  EXPECT_EQ(*arguments->string("text"), " Finder ");
  for (const char* key : {"small", "null", "Text"}) EXPECT_EQ(arguments->string(key), nullptr) << key;
  ASSERT_NE(arguments->present("null"), nullptr);
  EXPECT_TRUE(arguments->present("null")->isNull());
  EXPECT_EQ(arguments->present("absent"), nullptr);
}

}  // namespace
}  // namespace quillon
