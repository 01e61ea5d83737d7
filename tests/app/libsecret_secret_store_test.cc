// The desktop's keyring through libsecret, against a real Secret Service:
// gnome-keyring-daemon on a private session bus with a keyring of the test's
// own (scripts/with-secret-service). Each test starts with none of the
// store's items; other applications' items are made with libsecret directly.
#include "platform/linux/libsecret_secret_store.h"

#include <gtest/gtest.h>
#include <libsecret/secret.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/app/secret_store_wait.h"

namespace quillon {
namespace {

using testing::awaitResult;
using testing::iterateUntil;
using testing::kSecretStoreTimeout;
using testing::succeeded;
using Done = SecretStore::Done;
using Entries = SecretStore::Entries;
using Value = std::optional<std::string>;

// Schemas as any other client of the service would name them.
SecretSchema schemaNamed(const char* name) {
  SecretSchema schema{};
  schema.name = name;
  schema.attributes[0] = {"key", SECRET_SCHEMA_ATTRIBUTE_STRING};
  return schema;
}
const SecretSchema kApplicationSchema = schemaNamed("app.quillon.SecureStorage");
const SecretSchema kOtherSchema = schemaNamed("app.quillon.SomeOtherApplication");

void keepResult(GObject*, GAsyncResult* result, gpointer kept) {
  *static_cast<GAsyncResult**>(kept) = G_ASYNC_RESULT(g_object_ref(result));
}

// Runs one of libsecret's own asynchronous calls to its end; the result to
// finish it with, owned by the caller, or none in time. Then the slot is left
// to the late answer, which would otherwise write into a gone stack frame.
GAsyncResult* awaitCall(const std::function<void(GAsyncReadyCallback, gpointer)>& start) {
  auto slot = std::make_unique<GAsyncResult*>(nullptr);
  start(keepResult, slot.get());
  if (!iterateUntil([&] { return *slot != nullptr; }, kSecretStoreTimeout)) slot.release();
  return slot ? *slot : nullptr;
}

class LibsecretSecretStoreTest : public ::testing::Test {
 protected:
  void SetUp() override { removeAll(); }

  void write(const std::string& key, const std::string& value) {
    succeeded<Done>(awaitResult<Done>([&](auto done) { store_.store(key, value, std::move(done)); }));
  }
  Value read(const std::string& key) {
    return succeeded<Value>(awaitResult<Value>([&](auto done) { store_.lookup(key, std::move(done)); }));
  }
  void remove(const std::string& key) {
    succeeded<Done>(awaitResult<Done>([&](auto done) { store_.remove(key, std::move(done)); }));
  }
  Entries readAll() {
    return succeeded<Entries>(awaitResult<Entries>([&](auto done) { store_.list(std::move(done)); }));
  }
  void removeAll() {
    succeeded<Done>(awaitResult<Done>([&](auto done) { store_.removeAll(std::move(done)); }));
  }

  static void writeOtherApplications(const std::string& key, const std::string& value) {
    g_autoptr(GAsyncResult) result = awaitCall([&](GAsyncReadyCallback callback, gpointer data) {
      secret_password_store(&kOtherSchema, SECRET_COLLECTION_DEFAULT, "another application", value.c_str(), nullptr,
                            callback, data, "key", key.c_str(), nullptr);
    });
    ASSERT_NE(result, nullptr);
    g_autoptr(GError) error = nullptr;
    EXPECT_TRUE(secret_password_store_finish(result, &error)) << error->message;
  }

  static Value readOtherApplications(const std::string& key) {
    g_autoptr(GAsyncResult) result = awaitCall([&](GAsyncReadyCallback callback, gpointer data) {
      secret_password_lookup(&kOtherSchema, nullptr, callback, data, "key", key.c_str(), nullptr);
    });
    if (result == nullptr) return std::nullopt;
    g_autoptr(GError) error = nullptr;
    gchar* value = secret_password_lookup_finish(result, &error);
    if (value == nullptr) return std::nullopt;
    std::string text(value);
    secret_password_free(value);
    return text;
  }

  LibsecretSecretStore store_;
};

TEST_F(LibsecretSecretStoreTest, ReadsBackWhatWasWrittenAndNothingForAnotherKey) {
  EXPECT_EQ(read("token"), std::nullopt);
  write("token", "s3cr3t");
  EXPECT_EQ(read("token"), "s3cr3t");
  EXPECT_EQ(read("Token"), std::nullopt);
  EXPECT_EQ(read("token "), std::nullopt);
}

TEST_F(LibsecretSecretStoreTest, WritingAgainReplacesTheOneItem) {
  write("token", "first");
  write("token", "second");
  EXPECT_EQ(read("token"), "second");
  EXPECT_EQ(readAll(), (Entries{{"token", "second"}}));
}

TEST_F(LibsecretSecretStoreTest, KeysAndValuesSurviveByteForByte) {
  const std::vector<std::pair<std::string, std::string>> kCases{
      {"empty", ""},
      {"ascii", "plain text"},
      {"utf-8", "pässwörd – 密码 🔑"},
      {"clé 🔑", "non-ASCII key"},
      {"nul", std::string("before\0after", 12)},
      {"long", std::string(64 * 1024, 'x')},
  };
  for (const auto& [key, value] : kCases) write(key, value);
  for (const auto& [key, value] : kCases) EXPECT_EQ(read(key), value) << key;
  EXPECT_EQ(readAll(), Entries(kCases.begin(), kCases.end()));
}

TEST_F(LibsecretSecretStoreTest, RemovesOneKeyAndAnAbsentKeyIsNoFailure) {
  write("a", "1");
  write("b", "2");
  remove("a");
  EXPECT_EQ(read("a"), std::nullopt);
  EXPECT_EQ(read("b"), "2");
  remove("a");
  remove("never written");
  EXPECT_EQ(readAll(), (Entries{{"b", "2"}}));
}

TEST_F(LibsecretSecretStoreTest, ListsAndRemovesAllOfItsOwnAndNothingOfOtherApplications) {
  EXPECT_EQ(readAll(), Entries{});
  writeOtherApplications("shared", "theirs");
  write("shared", "ours");
  write("other", "also ours");
  EXPECT_EQ(readAll(), (Entries{{"other", "also ours"}, {"shared", "ours"}}));
  removeAll();
  EXPECT_EQ(readAll(), Entries{});
  EXPECT_EQ(read("shared"), std::nullopt);
  EXPECT_EQ(readOtherApplications("shared"), "theirs");
}

// Other tools (and the host's next versions) find the items by this schema
// name and attribute; a change would lose the users' secrets.
TEST_F(LibsecretSecretStoreTest, ItemsCarryTheApplicationsSchemaAndALabelNamingTheKey) {
  write("session", "value");
  g_autoptr(GAsyncResult) result = awaitCall([](GAsyncReadyCallback callback, gpointer data) {
    secret_password_search(&kApplicationSchema, SECRET_SEARCH_ALL, nullptr, callback, data, "key", "session", nullptr);
  });
  ASSERT_NE(result, nullptr);
  g_autoptr(GError) error = nullptr;
  g_autolist(GObject) items = secret_password_search_finish(result, &error);
  ASSERT_EQ(g_list_length(items), 1u);
  g_autofree gchar* label = secret_retrievable_get_label(SECRET_RETRIEVABLE(items->data));
  EXPECT_STREQ(label, "QUILLON Remote App: session");
}

// The completion would answer an interface call that may have gone with the
// store: it must be destroyed, never called.
TEST_F(LibsecretSecretStoreTest, AStoreDestroyedWithOperationsInFlightDropsTheirCompletions) {
  auto doomed = std::make_unique<LibsecretSecretStore>();
  const auto heldByCompletions = std::make_shared<int>(0);
  bool called = false;
  doomed->store("doomed", "value", [heldByCompletions, &called](auto) { called = true; });
  doomed->list([heldByCompletions, &called](auto) { called = true; });
  doomed.reset();
  EXPECT_TRUE(iterateUntil([&] { return heldByCompletions.use_count() == 1; }, kSecretStoreTimeout));
  EXPECT_FALSE(called);
}

}  // namespace
}  // namespace quillon
