// The desktop's keyring killed while the host has secure-storage calls in
// flight (run under scripts/with-secret-service, whose private session bus the
// host inherits): every call is answered exactly once, with its result or the
// keyring's failure, and the host goes on serving.
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <csignal>
#include <map>

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "tests/link/link_peer.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

TEST(KeyringLossTest, CallsInFlightAreAnsweredOnceWhenTheKeyringIsKilled) {
  constexpr std::uint32_t kCalls = 200;
  g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  ASSERT_TRUE(bus);
  const auto askTheBus = [&](const char* method, GVariant* arguments) {
    return g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                       method, arguments, G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 5000,
                                       nullptr, nullptr);
  };
  // The process that serves the Secret Service on the session bus.
  g_autoptr(GVariant) owner = askTheBus("GetConnectionUnixProcessID", g_variant_new("(s)", "org.freedesktop.secrets"));
  ASSERT_TRUE(owner) << "no Secret Service on the session bus";
  guint32 daemon = 0;
  g_variant_get(owner, "(u)", &daemon);
  // The test's connection queues for the service's name, which passes to it
  // the moment the daemon dies, and answers every call with an error, as GDBus
  // does for objects nobody serves: the keyring stays gone. Otherwise the bus
  // would start a new daemon for the next call, whose keyring is locked and
  // can only be unlocked through a prompt on a desktop, which the test has not:
  // calls would wait for a person.
  g_autoptr(GVariant) queued = askTheBus("RequestName", g_variant_new("(su)", "org.freedesktop.secrets", 0u));
  ASSERT_TRUE(queued);

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
  ::kill(static_cast<pid_t>(daemon), SIGKILL);

  // null for the writes the keyring finished, its failure for the others.
  std::map<std::uint32_t, int> answers;
  std::size_t failures = 0;
  while (auto reply = interface.receive(kAnswerTime)) {
    if (reply->kind != FrameKind::reply) continue;
    ++answers[reply->id];
    const auto decoded = StandardCodec::decodeReply(reply->payload);
    ASSERT_TRUE(decoded.hasValue()) << decoded.error().reason;
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
