// The interface's client of the link, in this process, against plain sockets
// that misbehave as a stuck host would: every wait ends at its deadline with a
// reason that says which. (Another user's listener needs root: the faults.)
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "tests/support/child_process.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

class LinkClientTest : public ::testing::Test {
 protected:
  // A listener that takes no connection by itself, with room for one in its queue.
  LinkClientTest() : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    std::strncpy(address_.sun_path, path_.c_str(), sizeof address_.sun_path - 1);
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_), 0);
    EXPECT_EQ(::listen(listener_.get(), 0), 0);
  }

  // Whether one more connection found room in the queue.
  bool queueOne() {
    queued_.emplace_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    return ::connect(queued_.back().get(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_) == 0;
  }
  // Takes the oldest waiting connection off the queue and keeps it open, unread.
  void acceptOne() { accepted_.emplace_back(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)); }

  testing::ScratchDirectory scratch_;
  const std::string path_ = scratch_.path() + "/interface.sock";
  sockaddr_un address_{.sun_family = AF_UNIX, .sun_path = {}};
  UniqueFd listener_;
  std::vector<UniqueFd> queued_, accepted_;
};

TEST_F(LinkClientTest, EveryWaitEndsAtItsDeadline) {
  while (queueOne()) {
  }
  ASSERT_EQ(errno, EAGAIN);
  const auto refused = LinkClient::connect(path_, 200ms);
  ASSERT_FALSE(refused.hasValue());
  EXPECT_EQ(refused.error().kind, LinkClient::ConnectFailure::Kind::noHost);
  EXPECT_EQ(refused.error().reason, "the host at " + path_ + " did not take the connection within 200 ms");

  // Room for one: the client is queued and sends, but nobody reads or answers.
  acceptOne();
  auto unread = LinkClient::connect(path_, 200ms);
  ASSERT_TRUE(unread.hasValue());
  EXPECT_EQ((*unread)->request("channel", std::vector<std::uint8_t>(8 << 20), 200ms),
            Failure{"the host did not take the message within 200 ms"});
  acceptOne();
  auto unanswered = LinkClient::connect(path_, 200ms);
  ASSERT_TRUE(unanswered.hasValue());
  EXPECT_EQ((*unanswered)->request("channel", std::vector<std::uint8_t>(16), 200ms),
            Failure{"no answer from the host within 200 ms"});
}

}  // namespace
}  // namespace quillon
