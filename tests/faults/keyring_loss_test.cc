// The desktop's keyring killed while the host has secure-storage calls in
// flight (run under scripts/with-secret-service, whose private session bus the
// host inherits): every call is answered exactly once, with its result or the
// keyring's failure, and the host goes on serving.
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <csignal>
#include <cstring>
#include <map>

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "tests/app/host_conversation.h"
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

// Reply frames as they come, on a connection of the test's own.
class RawConnection {
 public:
  explicit RawConnection(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    connected_ = ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }

  bool connected() const { return connected_; }
  bool send(std::span<const std::uint8_t> bytes) {
    return ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
  }

  std::optional<LinkFrame> nextReply(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      FrameParse parse = reader_.next();
      if (parse.status == FrameParse::Status::complete) {
        if (parse.frame.kind == FrameKind::reply) return std::move(parse.frame);
        continue;
      }
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      pollfd readable{socket_.get(), POLLIN, 0};
      if (left.count() <= 0 || ::poll(&readable, 1, static_cast<int>(left.count())) != 1) return std::nullopt;
      std::uint8_t chunk[64 * 1024];
      const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, 0);
      if (count <= 0) return std::nullopt;
      reader_.append(std::span<const std::uint8_t>(chunk, static_cast<std::size_t>(count)));
    }
  }

 private:
  UniqueFd socket_;
  bool connected_ = false;
  FrameReader reader_;
};

TEST(KeyringLossTest, CallsInFlightAreAnsweredOnceWhenTheKeyringIsKilled) {
  g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  ASSERT_TRUE(bus);
  const auto daemon = keyringDaemon(bus);
  ASSERT_TRUE(daemon) << "no Secret Service on the session bus";
  ASSERT_TRUE(queueForTheServiceName(bus));
  auto host = startedHost({.headless = true});
  RawConnection interface(host->socketPath());
  ASSERT_TRUE(interface.connected());

  std::vector<std::uint8_t> writes;
  for (std::uint32_t id = 1; id <= kCalls; ++id) {
    const auto call = StandardCodec::encodeMethodCall(MethodCall{
        "write", argumentMap({{"key", "k" + std::to_string(id)}, {"value", std::string(16 * 1024, 'v')}})});
    const auto frame = encodeMessageFrame(id, FlutterSecureStoragePlugin::kChannel, call);
    writes.insert(writes.end(), frame.begin(), frame.end());
  }
  ASSERT_TRUE(interface.send(writes));
  ::kill(*daemon, SIGKILL);

  std::map<std::uint32_t, int> answers;
  std::size_t failures = 0;
  while (auto reply = interface.nextReply(kAnswerTime)) {
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
