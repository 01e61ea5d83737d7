// The four "ssl::" commands over the interface link of the built host, with its
// own NSS database (under its HOME) and temporary directory.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/linux/linux_hardware_identity.h"
#include "platform/linux/sysfs_network_interfaces.h"
#include "tests/identity/test_certificates.h"
#include "tests/support/catalogue_end_to_end_test.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using testing::argumentMap;

class SslEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  ChannelReply check(const std::string& subject, const std::string& date) {
    return call("ssl::isCertificateAvailable", argumentMap({{"subject", subject}, {"expirationDate", date}}));
  }
};

TEST_F(SslEndToEndTest, AddThenCheckAroundTheEndOfValidity) {
  const std::string certificate = testing::base64Of(testing::makeCertificate("/CN=Quillon Gateway", "20300102000000Z"));
  EXPECT_EQ(call("ssl::addCertificate", argumentMap({{"certificate", certificate}})), ChannelReply::success(true));
  EXPECT_EQ(call("ssl::addCertificate", argumentMap({{"certificate", certificate}})), ChannelReply::success(false));
  EXPECT_EQ(check("Quillon Gateway", "2030-01-01T23:59:59Z"), ChannelReply::success(true));
  EXPECT_EQ(check("Quillon Gateway", "2030-01-02T01:00:00+01:00"), ChannelReply::success(false));
  EXPECT_EQ(check("Quillon Gateway", "2030-01-02T00:00:01Z"), ChannelReply::success(false));
  EXPECT_EQ(check("Quillon", "2000-01-01T00:00:00Z"), ChannelReply::success(false));
  EXPECT_TRUE(fs::exists(host_.directory() + "/home/.pki/nssdb/cert9.db"));
  std::size_t certificateFiles = 0;
  for (const auto& entry : fs::directory_iterator(host_.directory())) {
    certificateFiles += entry.path().extension() == ".cer" ? 1U : 0U;
  }
  EXPECT_EQ(certificateFiles, 3U);
  EXPECT_EQ(host_.stop(), 0);
  EXPECT_EQ(host_.output(), "");
}

TEST_F(SslEndToEndTest, ArgumentFailuresAnswerTheirMessages) {
  const auto subjectAndDate = ChannelReply::error("INVALID_ARGUMENT", "Expected subject and expirationDate");
  for (const char* date : {"2025-03-31", "2025-03-31T23:59:59", "2025-03-31T23:59:59.000Z", "2025-04-31T00:00:00Z",
                           "2025-03-31T24:00:00Z"}) {
    EXPECT_EQ(check("x", date), subjectAndDate) << date;
  }
  EXPECT_EQ(call("ssl::isCertificateAvailable", argumentMap({{"subject", "x"}})), subjectAndDate);
  const auto certificate = ChannelReply::error("INVALID_ARGUMENT", "Expected certificate");
  EXPECT_EQ(call("ssl::addCertificate"), certificate);
  EXPECT_EQ(call("ssl::addCertificate", ChannelList{}), certificate);
  EXPECT_EQ(call("ssl::addCertificate", argumentMap({{"certificate", std::int64_t{3}}})), certificate);
  EXPECT_EQ(call("ssl::addCertificate", argumentMap({{"certificate", "not base64"}})), ChannelReply::success(false));
}

TEST_F(SslEndToEndTest, IdentityOfThisMachine) {
  std::string mac;
  if (const auto interfaces = SysfsNetworkInterfaces().list()) {
    for (const auto& interface : *interfaces) {
      if (interface.hardwareAddress) {
        mac = *interface.hardwareAddress;
        break;
      }
    }
  }
  EXPECT_EQ(call("ssl::getMacAddress", "ignored"), ChannelReply::success(mac));
  EXPECT_EQ(call("ssl::getPlatformUUID"), ChannelReply::success(LinuxHardwareIdentity().platformUuid().value_or("")));
  EXPECT_EQ(host_.stop(), 0);
  EXPECT_EQ(host_.output(), mac.empty() ? "No MAC address found.\n" : "");
}

}  // namespace
}  // namespace quillon
