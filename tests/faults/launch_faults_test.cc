// Faults that meet a second launch of the host, and quillon-call, on the
// socket: a running host that is stopped with its queue of connections full,
// and a program of another user listening where the host would. Neither
// waits for ever, and neither talks to a stranger.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <grp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "app/launch_handover.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

// Connects and leaves until the listener's queue refuses one more: the
// connections stay queued, as their clients go, until the listener takes them.
bool fillQueue(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  for (;;) {
    UniqueFd client(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return errno == EAGAIN;
  }
}

// The running host is stopped (SIGSTOP) and its queue is full: the second
// launch gives up at the hand-over's time and says so, instead of waiting for
// ever; the host, continued, serves on.
TEST(LaunchFaultTest, AStoppedHostWithAFullQueueLeavesTheSecondLaunchAtStatusOneInItsTime) {
  const auto host = startedHost({.headless = true});
  host->signal(SIGSTOP);
  ASSERT_TRUE(fillQueue(host->socketPath()));
  const auto started = std::chrono::steady_clock::now();
  const auto second = host->spawnHost("second");
  EXPECT_EQ(second->waitExit(kHandoverAnswerTime + 10s), 1);
  EXPECT_GE(std::chrono::steady_clock::now() - started, kHandoverAnswerTime);
  EXPECT_EQ(host->errorOutput("second"), "quillon-host: another host already serves " + host->socketPath() +
                                             " and did not take the launch: the host at " + host->socketPath() +
                                             " did not take the connection within 10 s\n");
  host->signal(SIGCONT);
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  EXPECT_EQ(callHost(*client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host->executablePath()));
  EXPECT_EQ(host->stop(), 0);
}

// A program of another user listening on `path`, as anyone can in a shared
// directory: it takes every connection and answers every message true, as a
// host that brought its window forward would, and reports each message it got
// by a byte on a pipe. A process of its own, which drops to that user.
class ForeignListener {
 public:
  static constexpr uid_t kNobody = 65534;

  explicit ForeignListener(const std::string& path) {
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) return;
    report_.reset(report[0]);
    UniqueFd write(report[1]);
    pid_ = ::fork();
    if (pid_ == 0) serve(path, write.get());
    write.reset();
    char ready = 0;
    pollfd readable{report_.get(), POLLIN, 0};
    listening_ = ::poll(&readable, 1, 10'000) == 1 && ::read(report_.get(), &ready, 1) == 1 && ready == 'r';
  }
  ForeignListener(const ForeignListener&) = delete;
  ForeignListener& operator=(const ForeignListener&) = delete;
  ~ForeignListener() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }

  bool listening() const { return listening_; }

  // The messages it has got so far.
  std::size_t messages() {
    ::fcntl(report_.get(), F_SETFL, O_NONBLOCK);
    std::size_t count = 0;
    for (char byte; ::read(report_.get(), &byte, 1) == 1;) ++count;
    return count;
  }

 private:
  [[noreturn]] static void serve(const std::string& path, int report) {
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(2);
    const sockaddr_un address = addressOf(path);
    UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener.get(), 16) != 0 || ::write(report, "r", 1) != 1) {
      ::_exit(3);
    }
    for (;;) {
      LinkClient peer(UniqueFd(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC)));
      for (auto message = peer.nextMessage(LinkClient::kForever); message.hasValue();
           message = peer.nextMessage(LinkClient::kForever)) {
        if (::write(report, "m", 1) != 1) ::_exit(4);
        if (message->id == 0) continue;
        peer.sendRaw(encodeReplyFrame(message->id, StandardCodec::encodeReply(ChannelReply::success(true))));
      }
    }
  }

  UniqueFd report_;
  pid_t pid_ = -1;
  bool listening_ = false;
};

// Its answers would not be the host's, and what they would be sent is not for
// it: the second launch hands nothing over and ends with status 1, and
// quillon-call refuses to call, each saying why.
TEST(LaunchFaultTest, AListenerOfAnotherUserIsHandedNothingAndCalledByNobody) {
  if (::geteuid() != 0) GTEST_SKIP() << "running a listener as another user needs root";
  ScratchDirectory scratch;
  const std::string shared = scratch.path() + "/shared";
  ASSERT_EQ(::chmod(scratch.path().c_str(), 0711), 0);
  ASSERT_EQ(::mkdir(shared.c_str(), 01777), 0);
  ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
  const std::string socketPath = shared + "/interface.sock";
  ForeignListener stranger(socketPath);
  ASSERT_TRUE(stranger.listening());

  HostProcess host({.headless = true});
  const auto second = host.spawnHost("second", {{"QUILLON_INTERFACE_SOCKET", socketPath},
                                                {"DESKTOP_STARTUP_ID", "launch-9_TIME9"}});
  EXPECT_EQ(second->waitExit(kAnswerTime), 1);
  EXPECT_EQ(host.errorOutput("second"), "quillon-host: " + socketPath + " is served by a program of user 65534, not " +
                                            "of this user (0); the launch is not handed over to it\n");
  const ToolRun call = runTool(QUILLON_CALL_BINARY, {"assembly::getExecutingAssemblyPath"},
                               {{"QUILLON_INTERFACE_SOCKET", socketPath}}, host.directory());
  EXPECT_EQ(call.status, 3);
  EXPECT_EQ(call.output, "");
  EXPECT_EQ(call.errorOutput, "quillon-call: " + socketPath + " is served by a program of user 65534, not of this " +
                                  "user (0)\n");
  EXPECT_EQ(stranger.messages(), 0U);
}

}  // namespace
}  // namespace quillon::testing
