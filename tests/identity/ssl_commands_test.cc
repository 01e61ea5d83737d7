#include "commands/ssl_commands.h"

#include <gtest/gtest.h>

#include "commands/command_dispatcher.h"
#include "tests/identity/fake_identity_platform.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using std::chrono::seconds;

class SslCommandsTest : public ::testing::Test {
 protected:
  SslCommandsTest() {
    platform.keychain.stored["gateway"] = {0x30, 0x00};
    platform.dates.dates["Jan  1 00:00:00 2030 GMT"] = Instant(seconds(1'893'456'000));
    platform.tools.prints("notAfter=Jan  1 00:00:00 2030 GMT\n");
  }

  ChannelReply call(const std::string& method, ChannelValue arguments) {
    testing::ReplyRecorder recorder;
    dispatcher.handle(MethodCall{method, std::move(arguments)}, recorder.callback());
    EXPECT_EQ(recorder.replies().size(), 1U) << method;
    return recorder.only();
  }
  static ChannelValue map(std::vector<std::pair<std::string, ChannelValue>> entries) {
    ChannelMap result;
    for (auto& [key, value] : entries) result.set(ChannelValue(key), std::move(value));
    return result;
  }
  ChannelReply check(ChannelValue expirationDate) {
    return call("ssl::isCertificateAvailable", map({{"subject", "gateway"}, {"expirationDate", expirationDate}}));
  }

  testing::FakeIdentityPlatform platform;
  CommandDispatcher dispatcher{sslCommands(platform.services)};
};

const ChannelReply kExpectedSubjectAndDate =
    ChannelReply::error("INVALID_ARGUMENT", "Expected subject and expirationDate");
const ChannelReply kExpectedCertificate = ChannelReply::error("INVALID_ARGUMENT", "Expected certificate");

TEST_F(SslCommandsTest, ChecksAgainstTheParsedInstant) {
  EXPECT_EQ(check("2029-12-31T23:59:59Z"), ChannelReply::success(true));
  EXPECT_EQ(check("2030-01-01T00:00:00Z"), ChannelReply::success(false));
  EXPECT_EQ(check("2030-01-01T01:00:00+02:00"), ChannelReply::success(true));
  EXPECT_EQ(platform.keychain.searches.size(), 3U);
}

TEST_F(SslCommandsTest, RefusedDatesAndArgumentsNeverReachTheStore) {
  for (const ChannelValue& date : {ChannelValue("2025-03-31"), ChannelValue("2025-03-31T23:59:59"),
                                   ChannelValue("2030-01-01T00:00:00.000Z"), ChannelValue("2025-04-31T00:00:00Z"),
                                   ChannelValue(std::int64_t{1'893'456'000}), ChannelValue()}) {
    EXPECT_EQ(check(date), kExpectedSubjectAndDate);
  }
  for (const ChannelValue& arguments :
       {ChannelValue(), ChannelValue(ChannelList{}), ChannelValue("gateway"),
        map({{"expirationDate", "2030-01-01T00:00:00Z"}}), map({{"subject", "gateway"}}),
        map({{"subject", std::int32_t{1}}, {"expirationDate", "2030-01-01T00:00:00Z"}})}) {
    EXPECT_EQ(call("ssl::isCertificateAvailable", arguments), kExpectedSubjectAndDate);
  }
  EXPECT_TRUE(platform.keychain.searches.empty());
}

TEST_F(SslCommandsTest, AddsTheCertificateText) {
  EXPECT_EQ(call("ssl::addCertificate", map({{"certificate", "MAA="}, {"other", 1}})), ChannelReply::success(true));
  platform.keychain.addStatus = KeychainStatus::kDuplicateItem;
  EXPECT_EQ(call("ssl::addCertificate", map({{"certificate", "MAA="}})), ChannelReply::success(false));
  EXPECT_EQ(platform.keychain.added.size(), 2U);
}

TEST_F(SslCommandsTest, AddRefusesArgumentsWithoutACertificateString) {
  for (const ChannelValue& arguments : {ChannelValue(), ChannelValue(ChannelList{ChannelValue("MAA=")}),
                                        map({{"certificate", std::int64_t{7}}}), map({{"cert", "MAA="}})}) {
    EXPECT_EQ(call("ssl::addCertificate", arguments), kExpectedCertificate);
  }
  EXPECT_TRUE(platform.keychain.added.empty());
}

TEST_F(SslCommandsTest, IdentityCommandsIgnoreTheirArguments) {
  platform.interfaces.interfaces = std::vector<NetworkInterface>{{"eth0", "02:fc:00:00:00:01"}};
  platform.hardware.uuid = "3D1219C7-C4C5-404A-A1F6-D2A48ADFDA4F";
  for (const ChannelValue& arguments : {ChannelValue(), ChannelValue("x"), map({{"a", 1}})}) {
    EXPECT_EQ(call("ssl::getMacAddress", arguments), ChannelReply::success("02:fc:00:00:00:01"));
    EXPECT_EQ(call("ssl::getPlatformUUID", arguments), ChannelReply::success("3D1219C7-C4C5-404A-A1F6-D2A48ADFDA4F"));
  }
}

TEST_F(SslCommandsTest, MissingIdentityAnswersTheEmptyString) {
  EXPECT_EQ(call("ssl::getMacAddress", {}), ChannelReply::success(""));
  EXPECT_EQ(call("ssl::getPlatformUUID", {}), ChannelReply::success(""));
  EXPECT_EQ(platform.diagnostics.lines, std::vector<std::string>{"No MAC address found."});
}

TEST_F(SslCommandsTest, NamesAreComparedExactly) {
  for (const char* name : {"ssl::getmacaddress", " ssl::getMacAddress", "ssl::getMacAddress ", "window::getMacAddress"}) {
    EXPECT_EQ(call(name, {}), ChannelReply::notImplemented()) << name;
  }
}

}  // namespace
}  // namespace quillon
