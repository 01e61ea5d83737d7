// The desktop's keyring killed while the host has secure-storage calls in
// flight (run under scripts/with-secret-service, whose private session bus the
// host inherits): every call is answered exactly once, with its result or the
// keyring's failure, and the host goes on serving.
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <csignal>
#include <cstring>
#include <map>

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "tests/app/host_conversation.h"
#include "tests/link/link_peer.h"
#include "tests/support/catalogue_end_to_end_test.h"

namespace quillon::testing {
namespace {

constexpr std::uint32_t kCalls = 200;

constexpr const char* kSecretService = "org.freedesktop.secrets";

// A question to the session bus itself, answered synchronously; the caller owns the answer.
GVariant* askTheBus(GDBusConnection* bus, const char* method, GVariant* arguments, const char* answerType) {
  return g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                     method, arguments, G_VARIANT_TYPE(answerType), G_DBUS_CALL_FLAGS_NONE, 5000,
                                     nullptr, nullptr);
}

// The process that serves the Secret Service on the session bus.
std::optional<pid_t> keyringDaemon(GDBusConnection* bus) {
  g_autoptr(GVariant) answer = askTheBus(bus, "GetConnectionUnixProcessID", g_variant_new("(s)", kSecretService), "(u)");
  if (!answer) return std::nullopt;
  guint32 pid = 0;
  g_variant_get(answer, "(u)", &pid);
  return static_cast<pid_t>(pid);
}

// Queues the test's connection for the service's name, which passes to it the
// moment the daemon dies. Otherwise the bus would start a new daemon for the
// next call, whose keyring is locked and can only be unlocked through a
// prompt on a desktop, which the test has not: calls would wait for a person.
// The test's connection answers every call with an error, as GDBus does for
// objects nobody serves: the keyring stays gone.
bool queueForTheServiceName(GDBusConnection* bus) {
  g_autoptr(GVariant) answer = askTheBus(bus, "RequestName", g_variant_new("(su)", kSecretService, 0u), "(u)");
  return answer != nullptr;
}

TEST(KeyringLossTest, CallsInFlightAreAnsweredOnceWhenTheKeyringIsKilled) {
  g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  ASSERT_TRUE(bus);
  const auto daemon = keyringDaemon(bus);
  ASSERT_TRUE(daemon) << "no Secret Service on the session bus";
  ASSERT_TRUE(queueForTheServiceName(bus));
  auto host = startedHost({.headless = true});
  // A connection of the test's own, which reads every reply as it comes.
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  host->socketPath().copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  LinkPeer interface(std::move(socket));

  std::vector<std::uint8_t> writes;
  for (std::uint32_t id = 1; id <= kCalls; ++id) {
    const auto call = StandardCodec::encodeMethodCall(MethodCall{
        "write", argumentMap({{"key", "k" + std::to_string(id)}, {"value", std::string(16 * 1024, 'v')}})});
    const auto frame = encodeMessageFrame(id, FlutterSecureStoragePlugin::kChannel, call);
    writes.insert(writes.end(), frame.begin(), frame.end());
  }
  interface.send(writes);
  ::kill(*daemon, SIGKILL);

  std::map<std::uint32_t, int> answers;
  std::size_t failures = 0;
  while (auto reply = interface.receive(kAnswerTime)) {
    if (reply->kind != FrameKind::reply) continue;
    ++answers[reply->id];
    std::string error;
    const auto decoded = StandardCodec::decodeReply(reply->payload, &error);
    ASSERT_TRUE(decoded) << error;
    if (decoded->isError()) {
      EXPECT_EQ(decoded->error().code, FlutterSecureStoragePlugin::kStoreError);
      ++failures;
    } else {
      EXPECT_EQ(*decoded, ChannelReply::success());
    }
    if (answers.size() == kCalls) break;
  }
  EXPECT_EQ(answers.size(), kCalls);
  for (const auto& [id, count] : answers) EXPECT_EQ(count, 1) << "call " << id;
  EXPECT_GT(failures, 0u) << "the keyring answered everything before it was killed";

  auto later = connectTo(*host);
  ASSERT_TRUE(later);
  EXPECT_EQ(callHost(*later, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host->executablePath()));
  const ChannelReply read = callHost(*later, FlutterSecureStoragePlugin::kChannel, "readAll");
  ASSERT_TRUE(read.isError());
  EXPECT_EQ(read.error().code, FlutterSecureStoragePlugin::kStoreError);
  EXPECT_EQ(host->stop(), 0) << host->errorOutput();
}

}  // namespace
}  // namespace quillon::testing
