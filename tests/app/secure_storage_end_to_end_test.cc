// The built host, headless, keeping the interface's secrets in a real Secret
// Service: run under scripts/with-secret-service, whose private session bus
// and keyring the host inherits. Other applications' items are made and read
// with libsecret directly, as any other client of the service would.
#include <gtest/gtest.h>
#include <libsecret/secret.h>

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "tests/app/host_conversation.h"
#include "tests/support/catalogue_end_to_end_test.h"

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

class SecureStorageEndToEndTest : public HostConversationTest {
 protected:
  // Each test starts with none of the host's items.
  void SetUp() override {
    start({.headless = true});
    ASSERT_EQ(call("deleteAll"), ChannelReply::success());
  }

  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    return callHost(*interface_, FlutterSecureStoragePlugin::kChannel, method, std::move(arguments));
  }
  ChannelReply write(const std::string& key, const std::string& value) {
    return call("write", argumentMap({{"key", key}, {"value", value}, {"options", argumentMap({})}}));
  }
  ChannelReply read(const std::string& method, const std::string& key) { return call(method, argumentMap({{"key", key}})); }
};

TEST_F(SecureStorageEndToEndTest, KeysAndValuesComeBackByteForByteAndEachKeyIsOneItem) {
  const std::vector<std::pair<std::string, std::string>> kCases{
      {"empty", ""},
      {"utf-8", "pässwörd – 密码 🔑"},
      {"clé 🔑", "non-ASCII key"},
      {"nul", std::string("before\0after", 12)},
      {"long", std::string(64 * 1024, 'x')},
  };
  for (const auto& [key, value] : kCases) {
    EXPECT_EQ(write(key, "replaced"), ChannelReply::success());
    EXPECT_EQ(write(key, value), ChannelReply::success());
  }
  ChannelMap all;  // In the order of the keys' bytes, as the keyring lists them.
  for (const auto& [key, value] : std::map(kCases.begin(), kCases.end())) all.set(key, value);
  for (const auto& [key, value] : kCases) EXPECT_EQ(read("read", key), ChannelReply::success(value)) << key;
  EXPECT_EQ(call("readAll"), ChannelReply::success(all));
  EXPECT_EQ(read("read", "Empty"), ChannelReply::success());
  EXPECT_EQ(read("delete", "utf-8"), ChannelReply::success());
  EXPECT_EQ(read("delete", "never written"), ChannelReply::success());
  EXPECT_EQ(read("containsKey", "utf-8"), ChannelReply::success(false));
  EXPECT_EQ(read("containsKey", "nul"), ChannelReply::success(true));
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
  EXPECT_EQ(call("readAll"), ChannelReply::success(ChannelMap{}));
  g_autofree gchar* theirs = secret_password_lookup_sync(&kOtherSchema, nullptr, &error, "key", "shared", nullptr);
  EXPECT_STREQ(theirs, "theirs");
  EXPECT_EQ(host_->stop(), 0) << host_->errorOutput();
}

}  // namespace
}  // namespace quillon::testing
