// The built host, headless, serving the interface's secure storage from a
// real Secret Service: run under scripts/with-secret-service, whose private
// session bus the host inherits.
#include <gtest/gtest.h>

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "tests/app/host_conversation.h"
#include "tests/support/catalogue_end_to_end_test.h"

namespace quillon::testing {
namespace {

class SecureStorageEndToEndTest : public ::testing::Test {
 protected:
  ChannelReply call(const std::string& method, ChannelValue arguments) {
    std::string error;
    std::optional<ChannelReply> reply = interface_->call(
        FlutterSecureStoragePlugin::kChannel, MethodCall{method, std::move(arguments)}, kAnswerTime, &error);
    EXPECT_TRUE(reply) << method << ": " << error;
    return reply.value_or(ChannelReply::error("TEST", error));
  }

  std::unique_ptr<HostProcess> host_ = startedHost({.headless = true});
  std::unique_ptr<LinkClient> interface_ = connectTo(*host_);
};

TEST_F(SecureStorageEndToEndTest, TheInterfacesSecretsGoToTheKeyringAndComeBack) {
  ASSERT_TRUE(interface_);
  const ChannelValue options = argumentMap({{"useSessionKeyring", false}});
  const auto keyed = [&](const char* key) { return argumentMap({{"key", key}, {"options", options}}); };
  EXPECT_EQ(call("deleteAll", argumentMap({{"options", options}})), ChannelReply::success());
  EXPECT_EQ(call("write", argumentMap({{"key", "refresh"}, {"value", "jeton à 🔑"}, {"options", options}})),
            ChannelReply::success());
  EXPECT_EQ(call("write", argumentMap({{"key", "device"}, {"value", "d-1"}, {"options", options}})),
            ChannelReply::success());
  EXPECT_EQ(call("read", keyed("refresh")), ChannelReply::success("jeton à 🔑"));
  EXPECT_EQ(call("containsKey", keyed("device")), ChannelReply::success(true));
  EXPECT_EQ(call("readAll", argumentMap({{"options", options}})),
            ChannelReply::success(argumentMap({{"device", "d-1"}, {"refresh", "jeton à 🔑"}})));
  EXPECT_EQ(call("delete", keyed("device")), ChannelReply::success());
  EXPECT_EQ(call("containsKey", keyed("device")), ChannelReply::success(false));
  EXPECT_EQ(call("deleteAll", argumentMap({{"options", options}})), ChannelReply::success());
  EXPECT_EQ(call("read", keyed("refresh")), ChannelReply::success());
  EXPECT_EQ(host_->stop(), 0) << host_->errorOutput();
}

}  // namespace
}  // namespace quillon::testing
