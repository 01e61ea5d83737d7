#include "embedding/link_listener.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "embedding/engine.h"
#include "tests/link/link_peer.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::LinkPeer;

UniqueFd connectTo(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return {};
  return socket;
}

class LinkListenerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/quillon-listener-XXXXXX";
    root_ = ::mkdtemp(pattern);
  }
  void TearDown() override { fs::remove_all(root_); }

  std::string socketPath() const { return (root_ / "a" / "b" / "interface.sock").string(); }

  fs::path root_;
};

TEST_F(LinkListenerTest, CreatesPrivateDirectoriesAndAPrivateSocket) {
  LinkListener listener(socketPath(), ::getuid());
  ASSERT_EQ(listener.listen([](UniqueFd) {}), std::nullopt);
  for (const auto& [path, mode] : {std::pair(root_ / "a", S_IFDIR | 0700), std::pair(root_ / "a" / "b", S_IFDIR | 0700),
                                   std::pair(fs::path(socketPath()), S_IFSOCK | 0600)}) {
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0) << path;
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(mode)) << path;
  }
  listener.close();
  EXPECT_FALSE(fs::exists(socketPath()));
}

TEST_F(LinkListenerTest, AConnectionOfAnotherUserIsClosedAtOnce) {
  LinkListener listener(socketPath(), ::getuid() + 1);
  int accepted = 0;
  ASSERT_EQ(listener.listen([&](UniqueFd) { ++accepted; }), std::nullopt);
  LinkPeer peer(connectTo(socketPath()));
  EXPECT_TRUE(peer.closedByHost());
  EXPECT_EQ(accepted, 0);
}

TEST_F(LinkListenerTest, AStaleSocketIsReplaced) {
  {
    LinkListener earlier(socketPath(), ::getuid());
    ASSERT_EQ(earlier.listen([](UniqueFd) {}), std::nullopt);
    // Gone without cleaning up, as after a crash: keep the file, drop the listener's socket.
    fs::rename(socketPath(), socketPath() + ".kept");
  }
  fs::rename(socketPath() + ".kept", socketPath());
  LinkListener listener(socketPath(), ::getuid());
  EXPECT_EQ(listener.listen([](UniqueFd) {}), std::nullopt);
  EXPECT_TRUE(connectTo(socketPath()).valid());
}

TEST_F(LinkListenerTest, AFileThatIsNotASocketIsNeverRemoved) {
  fs::create_directories(root_ / "a" / "b");
  std::ofstream(socketPath()) << "keep me";
  LinkListener listener(socketPath(), ::getuid());
  EXPECT_EQ(listener.listen([](UniqueFd) {}), socketPath() + " exists and is not a socket");
  EXPECT_FALSE(listener.anotherHostServes());
  EXPECT_TRUE(fs::is_regular_file(socketPath()));
}

// The socket path rules, read from the environment of the moment.
TEST(InterfaceSocketPathTest, FollowsTheSwitchThenTheRuntimeDirectoryThenTmp) {
  const std::string tmpPath = "/tmp/quillon-host-" + std::to_string(::getuid()) + "/interface.sock";
  const std::vector<std::tuple<const char*, const char*, std::string>> cases = {
      {"/x/chosen.sock", "/run/user/7", "/x/chosen.sock"},
      {nullptr, "/run/user/7", "/run/user/7/quillon-host/interface.sock"},
      {"", "/run/user/7", "/run/user/7/quillon-host/interface.sock"},
      {nullptr, nullptr, tmpPath},
      {nullptr, "", tmpPath},
  };
  const auto set = [](const char* name, const char* value) { value ? ::setenv(name, value, 1) : ::unsetenv(name); };
  const auto kept = [](const char* name) { return std::getenv(name) ? std::string(std::getenv(name)) : ""; };
  const std::string keptSwitch = kept("QUILLON_INTERFACE_SOCKET"), keptRuntime = kept("XDG_RUNTIME_DIR");
  for (const auto& [socketSwitch, runtimeDirectory, expected] : cases) {
    set("QUILLON_INTERFACE_SOCKET", socketSwitch);
    set("XDG_RUNTIME_DIR", runtimeDirectory);
    EXPECT_EQ(Engine::interfaceSocketPath(), expected);
  }
  set("QUILLON_INTERFACE_SOCKET", keptSwitch.empty() ? nullptr : keptSwitch.c_str());
  set("XDG_RUNTIME_DIR", keptRuntime.empty() ? nullptr : keptRuntime.c_str());
}

}  // namespace
}  // namespace quillon
