// The desktop's keyring through libsecret when there is no session bus to
// reach a Secret Service on: every operation completes, on the main loop, with
// the reason, and neither hangs nor crashes. (Against a real Secret Service the
// store is tested through the built host: secure_storage_end_to_end_test.cc.)
#include <glib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "platform/linux/libsecret_secret_store.h"
#include "tests/support/child_process.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

// Turns the default main context, as the host's main loop would, until
// `done` holds or 20 s pass.
template <typename Condition>
bool iterateUntil(Condition done) {
  return testing::waitUntil(
      [&] {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        return done();
      },
      20s);
}

class LibsecretWithoutServiceTest : public ::testing::Test {
 protected:
  // GIO reads the address on its first connection: set before any test makes one.
  static void SetUpTestSuite() { ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/quillon/bus", 1); }

  // The reason the operation that `start` begins fails with, or what happened instead.
  template <typename T, typename Start>
  static std::string failureOf(Start start) {
    // Owned by the completion, so that one that comes late harms nothing.
    auto outcome = std::make_shared<std::string>("<did not complete>");
    start([outcome](SecretStore::Result<T> result) {
      const auto* failure = std::get_if<SecretStore::Failure>(&result);
      *outcome = failure != nullptr ? failure->reason : "<succeeded>";
    });
    iterateUntil([&] { return *outcome != "<did not complete>"; });
    return *outcome;
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

// The completion would answer an interface call that may have gone with the
// store: it must be destroyed, never called.
TEST_F(LibsecretWithoutServiceTest, AStoreDestroyedWithOperationsInFlightDropsTheirCompletions) {
  auto doomed = std::make_unique<LibsecretSecretStore>();
  const auto heldByCompletions = std::make_shared<int>(0);
  bool called = false;
  doomed->store("doomed", "value", [heldByCompletions, &called](auto) { called = true; });
  doomed->list([heldByCompletions, &called](auto) { called = true; });
  doomed.reset();
  EXPECT_TRUE(iterateUntil([&] { return heldByCompletions.use_count() == 1; }));
  EXPECT_FALSE(called);
}

}  // namespace
}  // namespace quillon
