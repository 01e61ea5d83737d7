// The fixture of the end-to-end tests of the command catalogue: a built host
// started for each test, one interface connected to it, and calls on the native
// command channel answered within a deadline.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

#include "channel/channel_names.h"
#include "tests/support/host_process.h"
#include "tools/link_client.h"

namespace quillon::testing {

// An arguments map with string keys, in the order given.
inline ChannelValue argumentMap(std::initializer_list<std::pair<std::string, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(ChannelValue(key), value);
  return map;
}

class CatalogueEndToEndTest : public ::testing::Test {
 protected:
  explicit CatalogueEndToEndTest(HostProcess::Layout layout = {}) : host_(layout) {}

  void SetUp() override {
    host_.start();
    ASSERT_TRUE(host_.waitReady()) << host_.errorOutput();
    std::string error;
    client_ = LinkClient::connect(host_.socketPath(), &error);
    ASSERT_TRUE(client_) << error;
  }

  // The host's answer to `method`; a test failure and an error answer when none comes.
  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    std::string error;
    auto reply = client_->call(kNativeCommandChannel, MethodCall{method, std::move(arguments)},
                               std::chrono::seconds(20), &error);
    EXPECT_TRUE(reply) << error;
    return reply.value_or(ChannelReply::error("TEST", error));
  }

  HostProcess host_;
  std::unique_ptr<LinkClient> client_;
};

}  // namespace quillon::testing
