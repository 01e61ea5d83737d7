// The "ssl::" catalogue over fakes: argument checks, and each name reaches its
// operation (what the operations do is ssl_functions_test's); and the reading
// of the dates it takes.
#include "commands/ssl_commands.h"

#include <gtest/gtest.h>

#include "commands/command_dispatcher.h"
#include "commands/internet_date_time.h"
#include "tests/identity/fake_identity_platform.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

ChannelValue argumentMap(std::initializer_list<std::pair<std::string, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(ChannelValue(key), value);
  return map;
}

class SslCommandsTest : public ::testing::Test {
 protected:
  SslCommandsTest() {
    platform.keychain.stored["gateway"] = {0x30, 0x00};
    platform.dates.dates["Jan  1 00:00:00 2030 GMT"] = Instant(std::chrono::seconds(1'893'456'000));
    platform.tools.answer = testing::finishedRun("notAfter=Jan  1 00:00:00 2030 GMT\n");
  }

  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    testing::ReplyRecorder recorder;
    dispatcher.handle(MethodCall{method, std::move(arguments)}, recorder.callback());
    EXPECT_EQ(recorder.replies().size(), 1U) << method;
    return recorder.only();
  }
  ChannelReply check(ChannelValue expirationDate) {
    return call("ssl::isCertificateAvailable", argumentMap({{"subject", "gateway"}, {"expirationDate", expirationDate}}));
  }

  testing::FakeIdentityPlatform platform;
  CommandDispatcher dispatcher{sslCommands(platform.services)};
};

TEST_F(SslCommandsTest, ChecksAgainstTheParsedInstantOrRefuses) {
  EXPECT_EQ(check("2029-12-31T23:59:59Z"), ChannelReply::success(true));
  EXPECT_EQ(check("2030-01-01T00:00:00Z"), ChannelReply::success(false));
  EXPECT_EQ(check("2030-01-01T01:00:00+02:00"), ChannelReply::success(true));
  EXPECT_EQ(platform.keychain.searches.size(), 3U);
  // InternetDateTimeTest holds the dates refused; one is enough to show the refusal here.
  const ChannelReply refused = ChannelReply::error("INVALID_ARGUMENT", "Expected subject and expirationDate");
  for (const ChannelValue& date : {ChannelValue("2025-03-31"), ChannelValue(std::int64_t{1'893'456'000}), ChannelValue()}) {
    EXPECT_EQ(check(date), refused);
  }
  for (const ChannelValue& arguments :
       {ChannelValue(), ChannelValue(ChannelList{}), ChannelValue("gateway"),
        argumentMap({{"expirationDate", "2030-01-01T00:00:00Z"}}), argumentMap({{"subject", "gateway"}}),
        argumentMap({{"subject", std::int32_t{1}}, {"expirationDate", "2030-01-01T00:00:00Z"}})}) {
    EXPECT_EQ(call("ssl::isCertificateAvailable", arguments), refused);
  }
  EXPECT_EQ(platform.keychain.searches.size(), 3U);
}

TEST_F(SslCommandsTest, AddsTheCertificateTextOrRefuses) {
  EXPECT_EQ(call("ssl::addCertificate", argumentMap({{"certificate", "MAA="}, {"other", 1}})), ChannelReply::success(true));
  platform.keychain.addResult = KeychainError::kDuplicateItem;
  EXPECT_EQ(call("ssl::addCertificate", argumentMap({{"certificate", "MAA="}})), ChannelReply::success(false));
  for (const ChannelValue& arguments : {ChannelValue(), ChannelValue(ChannelList{ChannelValue("MAA=")}),
                                        argumentMap({{"certificate", std::int64_t{7}}}), argumentMap({{"cert", "MAA="}})}) {
    EXPECT_EQ(call("ssl::addCertificate", arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected certificate"));
  }
  EXPECT_EQ(platform.keychain.added.size(), 2U);
}

TEST_F(SslCommandsTest, IdentityCommandsIgnoreTheirArguments) {
  platform.interfaces.interfaces = std::vector<NetworkInterface>{{"eth0", "02:fc:00:00:00:01"}};
  platform.hardware.uuid = "3D1219C7-C4C5-404A-A1F6-D2A48ADFDA4F";
  for (const ChannelValue& arguments : {ChannelValue(), ChannelValue("x"), argumentMap({{"a", 1}})}) {
    EXPECT_EQ(call("ssl::getMacAddress", arguments), ChannelReply::success("02:fc:00:00:00:01"));
    EXPECT_EQ(call("ssl::getPlatformUUID", arguments), ChannelReply::success("3D1219C7-C4C5-404A-A1F6-D2A48ADFDA4F"));
  }
}

TEST(InternetDateTimeTest, AcceptsOnlyTheInternetForm) {
  const std::pair<const char*, std::int64_t> accepted[] = {
      {"2030-01-01T00:00:00Z", 1'893'456'000},      {"2025-03-31T23:59:59Z", 1'743'465'599},
      {"2025-03-31T23:59:59+02:00", 1'743'458'399}, {"2025-03-31T23:59:59-05:30", 1'743'485'399},
      {"2024-02-29T12:00:00Z", 1'709'208'000},      {"1970-01-01T00:00:00+00:00", 0},
      // Four-digit years at both ends, far past what nanoseconds hold.
      {"9999-12-31T23:59:59Z", 253'402'300'799},    {"0001-01-01T00:00:00Z", -62'135'596'800},
  };
  for (const auto& [text, epochSeconds] : accepted) {
    EXPECT_EQ(parseInternetDateTime(text), Instant(std::chrono::seconds(epochSeconds))) << text;
  }
  for (const char* text :
       {"2025-03-31", "2025-03-31T23:59:59", "2025-03-31T23:59:59.000Z", "2025-03-31T23:59Z", "2025-03-31 23:59:59Z",
        "2025-03-31t23:59:59Z", "2025-03-31T23:59:59z", "2025-03-31T23:59:59+0200", "2025-03-31T23:59:59+02",
        "2025-03-31T23:59:59+24:00", "2025-13-01T00:00:00Z", "2025-04-31T00:00:00Z", "2025-02-29T00:00:00Z",
        "2025-00-10T00:00:00Z", "2025-01-00T00:00:00Z", "2025-03-31T24:00:00Z", "2025-03-31T23:60:00Z",
        "2025-03-31T23:59:60Z", "20250331T235959Z", " 2025-03-31T23:59:59Z", "2025-03-31T23:59:59Z ",
        "+2025-03-31T23:59:59Z", "2025-3-31T23:59:59Z", ""}) {
    EXPECT_EQ(parseInternetDateTime(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace quillon
