// The desktop's keyring through libsecret when there is no session bus to
// reach a Secret Service on: every operation completes, on the main loop, with
// the reason, and neither hangs nor crashes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "platform/linux/libsecret_secret_store.h"
#include "tests/app/secret_store_wait.h"

namespace quillon {
namespace {

using testing::awaitResult;

class LibsecretWithoutServiceTest : public ::testing::Test {
 protected:
  // GIO reads the address on its first connection: set before any test makes one.
  static void SetUpTestSuite() { ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/quillon/bus", 1); }

  // The failure's reason, or why there was none.
  template <typename T>
  static std::string failureOf(const std::function<void(SecretStore::Completion<T>)>& start) {
    const auto result = awaitResult<T>(start);
    if (!result) return "<did not complete>";
    const auto* failure = std::get_if<SecretStore::Failure>(&*result);
    return failure != nullptr ? failure->reason : "<succeeded>";
  }

  LibsecretSecretStore store_;
};

TEST_F(LibsecretWithoutServiceTest, EveryOperationCompletesWithTheReason) {
  const std::vector<std::pair<const char*, std::string>> kOutcomes{
      {"store", failureOf<SecretStore::Done>([&](auto done) { store_.store("key", "value", std::move(done)); })},
      {"lookup", failureOf<std::optional<std::string>>([&](auto done) { store_.lookup("key", std::move(done)); })},
      {"remove", failureOf<SecretStore::Done>([&](auto done) { store_.remove("key", std::move(done)); })},
      {"list", failureOf<SecretStore::Entries>([&](auto done) { store_.list(std::move(done)); })},
      {"removeAll", failureOf<SecretStore::Done>([&](auto done) { store_.removeAll(std::move(done)); })},
  };
  for (const auto& [operation, reason] : kOutcomes) {
    EXPECT_NE(reason.find("Could not connect"), std::string::npos) << operation << ": " << reason;
  }
}

}  // namespace
}  // namespace quillon
