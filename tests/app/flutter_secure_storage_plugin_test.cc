#include "app/plugins/flutter_secure_storage_plugin.h"

#include <gtest/gtest.h>

#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using Entries = SecretStore::Entries;

ChannelValue argumentMap(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

// What the interface's package sends along with every call; the host ignores it.
const ChannelValue kOptions = argumentMap({{"accessibility", "unlocked"}, {"useSessionKeyring", true}});

ChannelValue withKey(const char* key) { return argumentMap({{"key", key}, {"options", kOptions}}); }

struct CallCase {
  const char* method;
  ChannelValue arguments;
  ChannelReply reply;  // with the store holding {"a": "1", "b": "2"}
  Entries afterwards;
};

// Every call, as the package makes it, on a store that holds "a" and "b".
const std::vector<CallCase> kCalls{
    {"write", argumentMap({{"key", "c"}, {"value", "3 ✓"}, {"options", kOptions}}), ChannelReply::success(),
     {{"a", "1"}, {"b", "2"}, {"c", "3 ✓"}}},
    {"write", argumentMap({{"key", "a"}, {"value", ""}}), ChannelReply::success(), {{"a", ""}, {"b", "2"}}},
    {"read", withKey("a"), ChannelReply::success("1"), {{"a", "1"}, {"b", "2"}}},
    {"read", withKey("c"), ChannelReply::success(), {{"a", "1"}, {"b", "2"}}},
    {"containsKey", withKey("b"), ChannelReply::success(true), {{"a", "1"}, {"b", "2"}}},
    {"containsKey", withKey("c"), ChannelReply::success(false), {{"a", "1"}, {"b", "2"}}},
    {"delete", withKey("a"), ChannelReply::success(), {{"b", "2"}}},
    {"delete", withKey("c"), ChannelReply::success(), {{"a", "1"}, {"b", "2"}}},
    {"readAll", argumentMap({{"options", kOptions}}), ChannelReply::success(argumentMap({{"a", "1"}, {"b", "2"}})),
     {{"a", "1"}, {"b", "2"}}},
    {"readAll", ChannelValue(), ChannelReply::success(argumentMap({{"a", "1"}, {"b", "2"}})), {{"a", "1"}, {"b", "2"}}},
    {"deleteAll", argumentMap({{"options", kOptions}}), ChannelReply::success(), {}},
};

class FlutterSecureStoragePluginTest : public ::testing::Test {
 protected:
  FlutterSecureStoragePluginTest() { window_.awakeFromNib(); }

  ChannelReply call(const std::string& method, const ChannelValue& arguments) {
    return shell_.messenger.deliver(FlutterSecureStoragePlugin::kChannel, MethodCall{method, arguments});
  }

  testing::FakeShell shell_;
  testing::FakeSecretStore& store_ = shell_.secrets;
  MainFlutterWindow window_{nullptr, shell_.setup()};
};

// The store answers later, as the Secret Service does: each call is answered
// once it completes, exactly once, and changes the store as asked.
TEST_F(FlutterSecureStoragePluginTest, EachCallIsAnsweredOnceTheStoreCompletesAndChangesItAsAsked) {
  for (const CallCase& each : kCalls) {
    SCOPED_TRACE(std::string(each.method) + " " + describe(each.arguments));
    store_.secrets = {{"a", "1"}, {"b", "2"}};
    store_.holding = true;
    const auto replies = shell_.messenger.post(FlutterSecureStoragePlugin::kChannel, {each.method, each.arguments});
    EXPECT_TRUE(replies->empty());
    EXPECT_EQ(store_.held.size(), 1u);
    store_.completeHeld();
    EXPECT_EQ(*replies, std::vector<ChannelReply>{each.reply});
    EXPECT_EQ(store_.secrets, each.afterwards);
  }
  store_.holding = false;
  EXPECT_EQ(call("readAll", ChannelValue()), ChannelReply::success(ChannelMap{}));
}

TEST_F(FlutterSecureStoragePluginTest, AFailingStoreAnswersItsRepairedReasonAndChangesNothing) {
  store_.secrets = {{"a", "1"}, {"b", "2"}};
  store_.failure = "No such file: /home/caf\xE9";
  for (const CallCase& each : kCalls) {
    EXPECT_EQ(call(each.method, each.arguments),
              ChannelReply::error("SECRET_STORE_ERROR", "No such file: /home/caf\uFFFD"))
        << each.method;
  }
  EXPECT_EQ(store_.secrets, (Entries{{"a", "1"}, {"b", "2"}}));
}

// Another program may store bytes that are not text under our schema; they are
// none of the interface's values, and the channel could not carry them.
TEST_F(FlutterSecureStoragePluginTest, AValueThatIsNotUtf8CountsAsNotStored) {
  store_.secrets = {{"a", "1"}, {"x", "\xFF\xFE"}};
  EXPECT_EQ(call("read", withKey("x")), ChannelReply::success());
  EXPECT_EQ(call("containsKey", withKey("x")), ChannelReply::success(false));
  EXPECT_EQ(call("readAll", ChannelValue()), ChannelReply::success(argumentMap({{"a", "1"}})));
  EXPECT_EQ(call("delete", withKey("x")), ChannelReply::success());
  EXPECT_EQ(store_.secrets, (Entries{{"a", "1"}}));
}

TEST_F(FlutterSecureStoragePluginTest, WrongArgumentsAndOtherNamesLeaveTheStoreAlone) {
  const auto withoutKey = ChannelReply::error("INVALID_ARGUMENT", "Expected a string \"key\"");
  const auto withoutValue = ChannelReply::error("INVALID_ARGUMENT", "Expected a string \"value\"");
  std::vector<std::tuple<const char*, ChannelValue, ChannelReply>> cases;
  for (const char* method : {"write", "read", "containsKey", "delete"}) {
    for (const ChannelValue& arguments :
         {ChannelValue(), ChannelValue("a"), ChannelValue(ChannelList{"key", "a"}), argumentMap({{"options", kOptions}}),
          argumentMap({{"Key", "a"}, {"value", "1"}}), argumentMap({{"key", ChannelValue()}, {"value", "1"}}),
          argumentMap({{"key", std::int32_t{1}}, {"value", "1"}}), argumentMap({{"key", ChannelList{"a"}}}),
          argumentMap({{"key", "a"}, {"value", "1"}, {std::int32_t{7}, "not a string key"}})}) {
      cases.emplace_back(method, arguments, withoutKey);
    }
  }
  for (const ChannelValue& value : {ChannelValue(), ChannelValue(std::int32_t{1}), ChannelValue(std::vector<std::uint8_t>{'1'})}) {
    cases.emplace_back("write", argumentMap({{"key", "a"}, {"value", value}}), withoutValue);
  }
  cases.emplace_back("write", withKey("a"), withoutValue);
  for (const char* method : {"Write", "readall", "deleteKey", "remove", "getAll", ""}) {
    cases.emplace_back(method, withKey("a"), ChannelReply::notImplemented());
  }
  store_.holding = true;
  for (const auto& [method, arguments, reply] : cases) {
    EXPECT_EQ(call(method, arguments), reply) << method << ' ' << describe(arguments);
  }
  EXPECT_TRUE(store_.held.empty());
}

}  // namespace
}  // namespace quillon
