#include "app/plugins/flutter_secure_storage_plugin.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using testing::FakeMessenger;
using Entries = SecretStore::Entries;

ChannelValue mapOf(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

// What the interface's package sends along with every call; the host ignores it.
const ChannelValue kOptions = mapOf({{"accessibility", "unlocked"}, {"useSessionKeyring", true}});

ChannelValue withKey(const char* key) { return mapOf({{"key", key}, {"options", kOptions}}); }

struct CallCase {
  const char* method;
  ChannelValue arguments;
  ChannelReply reply;  // with the store holding {"a": "1", "b": "2"}
  Entries afterwards;
};

// Every call, as the package makes it, on a store that holds "a" and "b".
const std::vector<CallCase>& callCases() {
  static const std::vector<CallCase> kCases{
      {"write",
       mapOf({{"key", "c"}, {"value", "3 ✓"}, {"options", kOptions}}),
       ChannelReply::success(),
       {{"a", "1"}, {"b", "2"}, {"c", "3 ✓"}}},
      {"write",
       mapOf({{"key", "a"}, {"value", ""}, {"options", kOptions}}),
       ChannelReply::success(),
       {{"a", ""}, {"b", "2"}}},
      {"read", withKey("a"), ChannelReply::success("1"), {{"a", "1"}, {"b", "2"}}},
      {"read", withKey("c"), ChannelReply::success(), {{"a", "1"}, {"b", "2"}}},
      {"containsKey", withKey("b"), ChannelReply::success(true), {{"a", "1"}, {"b", "2"}}},
      {"containsKey", withKey("c"), ChannelReply::success(false), {{"a", "1"}, {"b", "2"}}},
      {"delete", withKey("a"), ChannelReply::success(), {{"b", "2"}}},
      {"delete", withKey("c"), ChannelReply::success(), {{"a", "1"}, {"b", "2"}}},
      {"readAll",
       mapOf({{"options", kOptions}}),
       ChannelReply::success(mapOf({{"a", "1"}, {"b", "2"}})),
       {{"a", "1"}, {"b", "2"}}},
      {"readAll", ChannelValue(), ChannelReply::success(mapOf({{"a", "1"}, {"b", "2"}})), {{"a", "1"}, {"b", "2"}}},
      {"deleteAll", mapOf({{"options", kOptions}}), ChannelReply::success(), {}},
      {"deleteAll", ChannelValue(), ChannelReply::success(), {}},
  };
  return kCases;
}

class FlutterSecureStoragePluginTest : public ::testing::Test {
 protected:
  FlutterSecureStoragePluginTest() {
    host_.secrets.secrets = {{"a", "1"}, {"b", "2"}};
    window_.awakeFromNib();
  }

  ChannelReply call(const std::string& method, const ChannelValue& arguments) {
    return messenger_.deliver(FlutterSecureStoragePlugin::kChannel, MethodCall{method, arguments});
  }

  testing::FakeHostServices host_;
  FakeMessenger messenger_;
  MainFlutterWindow window_{
      nullptr, MainFlutterWindow::Setup{std::make_unique<testing::FakeEngine>(messenger_), [] { return nullptr; },
                                        host_.servicesFactory(), host_.pluginServices()}};
};

TEST_F(FlutterSecureStoragePluginTest, EachCallAnswersWhatTheStoreHoldsAndChangesItAsAsked) {
  for (const CallCase& each : callCases()) {
    host_.secrets.secrets = {{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(call(each.method, each.arguments), each.reply) << each.method << ' ' << describe(each.arguments);
    EXPECT_EQ(host_.secrets.secrets, each.afterwards) << each.method << ' ' << describe(each.arguments);
  }
}

TEST_F(FlutterSecureStoragePluginTest, ReadAllAnswersAnEmptyMapForAnEmptyStore) {
  host_.secrets.secrets.clear();
  EXPECT_EQ(call("readAll", mapOf({})), ChannelReply::success(ChannelMap{}));
}

// The store answers later, as the Secret Service does: nothing is answered
// before it completes, and exactly once after.
TEST_F(FlutterSecureStoragePluginTest, EachCallIsAnsweredOnceWhenTheStoreCompletes) {
  for (const CallCase& each : callCases()) {
    host_.secrets.secrets = {{"a", "1"}, {"b", "2"}};
    host_.secrets.holding = true;
    const auto replies = messenger_.post(FlutterSecureStoragePlugin::kChannel, MethodCall{each.method, each.arguments});
    EXPECT_TRUE(replies->empty()) << each.method;
    EXPECT_EQ(host_.secrets.heldCount(), 1u) << each.method;
    host_.secrets.completeHeld();
    EXPECT_EQ(*replies, std::vector<ChannelReply>{each.reply}) << each.method << ' ' << describe(each.arguments);
  }
}

TEST_F(FlutterSecureStoragePluginTest, AFailingStoreAnswersItsReasonAndChangesNothing) {
  host_.secrets.failure = "Cannot autolaunch D-Bus without X11 $DISPLAY";
  for (const CallCase& each : callCases()) {
    EXPECT_EQ(call(each.method, each.arguments),
              ChannelReply::error("SECRET_STORE_ERROR", "Cannot autolaunch D-Bus without X11 $DISPLAY"))
        << each.method;
  }
  EXPECT_EQ(host_.secrets.secrets, (Entries{{"a", "1"}, {"b", "2"}}));
}

// Another program may store bytes that are not text under our schema; they are
// none of the interface's values, and the channel could not carry them.
TEST_F(FlutterSecureStoragePluginTest, AValueThatIsNotUtf8CountsAsNotStored) {
  host_.secrets.secrets = {{"a", "1"}, {"x", "\xFF\xFE"}};
  EXPECT_EQ(call("read", withKey("x")), ChannelReply::success());
  EXPECT_EQ(call("containsKey", withKey("x")), ChannelReply::success(false));
  EXPECT_EQ(call("readAll", ChannelValue()), ChannelReply::success(mapOf({{"a", "1"}})));
  EXPECT_EQ(call("delete", withKey("x")), ChannelReply::success());
  EXPECT_EQ(host_.secrets.secrets, (Entries{{"a", "1"}}));
}

TEST_F(FlutterSecureStoragePluginTest, AReasonThatIsNotUtf8IsRepaired) {
  host_.secrets.failure = "No such file: /home/caf\xE9";
  EXPECT_EQ(call("read", withKey("a")), ChannelReply::error("SECRET_STORE_ERROR", "No such file: /home/caf\uFFFD"));
}

TEST_F(FlutterSecureStoragePluginTest, WithoutAStringKeyAnswersInvalidArgumentAndLeavesTheStoreAlone) {
  const std::vector<ChannelValue> kWithoutKey{
      ChannelValue(),
      ChannelValue("a"),
      ChannelValue(ChannelList{"key", "a"}),
      mapOf({{"options", kOptions}}),
      mapOf({{"Key", "a"}, {"value", "1"}}),
      mapOf({{"key", ChannelValue()}, {"value", "1"}}),
      mapOf({{"key", std::int32_t{1}}, {"value", "1"}}),
      mapOf({{"key", ChannelList{"a"}}, {"value", "1"}}),
      mapOf({{"key", "a"}, {"value", "1"}, {std::int32_t{7}, "not a string key"}}),
  };
  host_.secrets.holding = true;
  for (const char* method : {"write", "read", "containsKey", "delete"}) {
    for (const ChannelValue& arguments : kWithoutKey) {
      EXPECT_EQ(call(method, arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected a string \"key\""))
          << method << ' ' << describe(arguments);
    }
  }
  EXPECT_EQ(host_.secrets.heldCount(), 0u);
}

TEST_F(FlutterSecureStoragePluginTest, AWriteWithoutAStringValueAnswersInvalidArgumentAndWritesNothing) {
  host_.secrets.holding = true;
  for (const ChannelValue& arguments : {withKey("a"), mapOf({{"key", "a"}, {"value", ChannelValue()}}),
                                        mapOf({{"key", "a"}, {"value", std::int32_t{1}}}),
                                        mapOf({{"key", "a"}, {"value", std::vector<std::uint8_t>{'1'}}})}) {
    EXPECT_EQ(call("write", arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected a string \"value\""))
        << describe(arguments);
  }
  EXPECT_EQ(host_.secrets.heldCount(), 0u);
}

TEST_F(FlutterSecureStoragePluginTest, OtherNamesAnswerNotImplementedAndLeaveTheStoreAlone) {
  host_.secrets.holding = true;
  for (const char* method : {"Write", "readall", "deleteKey", "remove", "getAll", ""}) {
    EXPECT_EQ(call(method, withKey("a")), ChannelReply::notImplemented()) << method;
  }
  EXPECT_EQ(host_.secrets.heldCount(), 0u);
}

}  // namespace
}  // namespace quillon
