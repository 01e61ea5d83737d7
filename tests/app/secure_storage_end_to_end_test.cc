// The secure-storage plug-in of the built host, headless, on a real Secret
// Service: run under scripts/with-secret-service, whose private session bus
// and keyring the host inherits. Other programs' items are made and read with
// libsecret directly, as any other client of the service would; the keyring
// store's lifetime is tested in this process.
#include <gtest/gtest.h>
#include <libsecret/secret.h>

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "platform/linux/shell/libsecret_secret_store.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

SecretSchema schemaNamed(const char* name) {
  SecretSchema schema{};
  schema.name = name;
  schema.attributes[0] = {"key", SECRET_SCHEMA_ATTRIBUTE_STRING};
  return schema;
}
const SecretSchema kApplicationSchema = schemaNamed("app.quillon.SecureStorage");
const SecretSchema kOtherSchema = schemaNamed("app.quillon.SomeOtherApplication");

// What the interface's package sends along with every call; the host ignores it.
const ChannelValue kOptions = argumentMap({{"accessibility", "unlocked"}, {"useSessionKeyring", true}});

class SecureStorageEndToEndTest : public CatalogueEndToEndTest {
 protected:
  SecureStorageEndToEndTest() : CatalogueEndToEndTest({.headless = true}) {}
  // Each test starts with none of the host's items.
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(CatalogueEndToEndTest::SetUp());
    ASSERT_EQ(call("deleteAll", argumentMap({{"options", kOptions}})), ChannelReply::success());
  }

  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    return callHost(*client_, FlutterSecureStoragePlugin::kChannel, method, std::move(arguments));
  }
  ChannelReply write(const std::string& key, const std::string& value) {
    return call("write", argumentMap({{"key", key}, {"value", value}, {"options", kOptions}}));
  }
  ChannelReply keyed(const std::string& method, const std::string& key) {
    return call(method, argumentMap({{"key", key}, {"options", kOptions}}));
  }
};

TEST_F(SecureStorageEndToEndTest, KeysAndValuesComeBackByteForByteAndEachKeyIsOneItem) {
  const std::vector<std::pair<std::string, std::string>> kCases{
      {"empty", ""}, {"utf-8", "pässwörd – 密码 🔑"}, {"clé 🔑", "non-ASCII key"},
      {"nul", std::string("before\0after", 12)}, {"long", std::string(64 * 1024, 'x')}};
  for (const auto& [key, value] : kCases) {
    EXPECT_EQ(write(key, "replaced"), ChannelReply::success());
    EXPECT_EQ(write(key, value), ChannelReply::success());
  }
  ChannelMap all;  // In the order of the keys' bytes, as the keyring lists them.
  for (const auto& [key, value] : std::map(kCases.begin(), kCases.end())) all.set(key, value);
  for (const auto& [key, value] : kCases) EXPECT_EQ(keyed("read", key), ChannelReply::success(value)) << key;
  EXPECT_EQ(call("readAll"), ChannelReply::success(all));
  EXPECT_EQ(keyed("read", "Empty"), ChannelReply::success());
  EXPECT_EQ(keyed("containsKey", "nul"), ChannelReply::success(true));
  EXPECT_EQ(keyed("delete", "utf-8"), ChannelReply::success());
  EXPECT_EQ(keyed("delete", "never written"), ChannelReply::success());
  EXPECT_EQ(keyed("containsKey", "utf-8"), ChannelReply::success(false));
  EXPECT_EQ(call("deleteAll"), ChannelReply::success());
  EXPECT_EQ(call("readAll", argumentMap({{"options", kOptions}})), ChannelReply::success(ChannelMap{}));
}

// Other tools (and the host's next versions) find the items by the schema's
// name and attribute: a change would lose the users' secrets. What is listed
// and removed is the host's own, never another application's.
TEST_F(SecureStorageEndToEndTest, ItemsCarryTheApplicationsSchemaAndLabelAndOtherApplicationsAreLeftAlone) {
  g_autoptr(GError) error = nullptr;
  ASSERT_TRUE(secret_password_store_sync(&kOtherSchema, SECRET_COLLECTION_DEFAULT, "another application", "theirs",
                                         nullptr, &error, "key", "shared", nullptr));
  EXPECT_EQ(write("shared", "ours"), ChannelReply::success());
  EXPECT_EQ(call("readAll"), ChannelReply::success(argumentMap({{"shared", "ours"}})));

  g_autolist(GObject) items = secret_password_search_sync(&kApplicationSchema, SECRET_SEARCH_ALL, nullptr, &error,
                                                          "key", "shared", nullptr);
  ASSERT_EQ(g_list_length(items), 1u);
  g_autofree gchar* label = secret_retrievable_get_label(SECRET_RETRIEVABLE(items->data));
  EXPECT_STREQ(label, "QUILLON Remote App: shared");

  EXPECT_EQ(call("deleteAll"), ChannelReply::success());
  EXPECT_EQ(keyed("read", "shared"), ChannelReply::success());
  g_autofree gchar* theirs = secret_password_lookup_sync(&kOtherSchema, nullptr, &error, "key", "shared", nullptr);
  EXPECT_STREQ(theirs, "theirs");
  EXPECT_EQ(host_.stop(), 0) << host_.errorOutput();
}

// Another program may store bytes that are not text under our schema; they are
// none of the interface's values, and the channel could not carry them.
TEST_F(SecureStorageEndToEndTest, AValueThatIsNotUtf8CountsAsNotStored) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(SecretValue) bytes = secret_value_new("\xFF\xFE", 2, "application/octet-stream");
  ASSERT_TRUE(secret_password_store_binary_sync(&kApplicationSchema, SECRET_COLLECTION_DEFAULT, "not text", bytes,
                                                nullptr, &error, "key", "x", nullptr));
  EXPECT_EQ(write("a", "1"), ChannelReply::success());
  EXPECT_EQ(keyed("read", "x"), ChannelReply::success());
  EXPECT_EQ(keyed("containsKey", "x"), ChannelReply::success(false));
  EXPECT_EQ(call("readAll"), ChannelReply::success(argumentMap({{"a", "1"}})));
  EXPECT_EQ(keyed("delete", "x"), ChannelReply::success());
  EXPECT_EQ(secret_password_lookup_binary_sync(&kApplicationSchema, nullptr, &error, "key", "x", nullptr), nullptr);
}

TEST_F(SecureStorageEndToEndTest, WrongArgumentsAndOtherNamesLeaveTheKeyringAlone) {
  EXPECT_EQ(write("a", "1"), ChannelReply::success());
  for (const char* method : {"write", "read", "containsKey", "delete"}) {
    for (const ChannelValue& arguments :
         {ChannelValue(), ChannelValue("a"), ChannelValue(ChannelList{"key", "a"}), argumentMap({{"options", kOptions}}),
          argumentMap({{"Key", "a"}, {"value", "1"}}), argumentMap({{"key", {}}, {"value", "1"}}),
          argumentMap({{"key", std::int32_t{1}}, {"value", "1"}}), argumentMap({{"key", ChannelList{"a"}}}),
          argumentMap({{"key", "a"}, {std::int32_t{7}, "not a string key"}})}) {
      EXPECT_EQ(call(method, arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected a string \"key\""))
          << method << ' ' << describe(arguments);
    }
  }
  for (const ChannelValue& value : {ChannelValue(), ChannelValue(std::int32_t{1}), ChannelValue(std::vector<std::uint8_t>{'2'})}) {
    EXPECT_EQ(call("write", argumentMap({{"key", "a"}, {"value", value}})),
              ChannelReply::error("INVALID_ARGUMENT", "Expected a string \"value\""));
  }
  for (const char* method : {"Write", "readall", "deleteKey", "remove", "getAll", ""}) {
    EXPECT_TRUE(call(method, argumentMap({{"key", "a"}})).isNotImplemented()) << method;
  }
  EXPECT_EQ(call("readAll"), ChannelReply::success(argumentMap({{"a", "1"}})));
}

// The completion would answer an interface call that may have gone with the
// store: it must be destroyed, never called.
TEST(LibsecretSecretStoreTest, AStoreDestroyedWithOperationsInFlightDropsTheirCompletions) {
  auto doomed = std::make_unique<LibsecretSecretStore>();
  const auto heldByCompletions = std::make_shared<int>(0);
  bool called = false;
  doomed->store("doomed", "value", [heldByCompletions, &called](auto) { called = true; });
  doomed->list([heldByCompletions, &called](auto) { called = true; });
  doomed.reset();
  EXPECT_TRUE(waitUntil(
      [&] {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        return heldByCompletions.use_count() == 1;
      },
      kAnswerTime));
  EXPECT_FALSE(called);
}

}  // namespace
}  // namespace quillon::testing
