// The "ssl::" certificate commands over the interface link of the built host,
// with its own NSS database (under its HOME) and temporary directory: the real
// openssl, ICU and NSS together. (The identity commands only read the two
// sources that linux_identity_platform_test checks on this machine.)
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "tests/identity/test_certificates.h"
#include "tests/support/host_conversation.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::argumentMap;

class SslEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  ChannelReply add(const std::string& text) { return call("ssl::addCertificate", argumentMap({{"certificate", text}})); }
  ChannelReply check(const std::string& subject, const std::string& date) {
    return call("ssl::isCertificateAvailable", argumentMap({{"subject", subject}, {"expirationDate", date}}));
  }
};

TEST_F(SslEndToEndTest, AddThenCheckAroundTheEndOfValidity) {
  const std::string gateway = testing::base64Of(testing::makeCertificate("/CN=Quillon Gateway", "20300102000000Z"));
  EXPECT_EQ(add(gateway), ChannelReply::success(true));
  EXPECT_EQ(add(gateway), ChannelReply::success(false));
  EXPECT_EQ(add("not base64"), ChannelReply::success(false));
  EXPECT_EQ(check("Quillon Gateway", "2030-01-01T23:59:59Z"), ChannelReply::success(true));
  EXPECT_EQ(check("Quillon Gateway", "2030-01-02T01:00:00+01:00"), ChannelReply::success(false));
  EXPECT_EQ(check("Quillon Gateway", "2030-01-02T00:00:01Z"), ChannelReply::success(false));
  EXPECT_EQ(check("Quillon", "2000-01-01T00:00:00Z"), ChannelReply::success(false));
  // The date of a certificate without a well-defined end, far past what nanoseconds hold.
  EXPECT_EQ(add(testing::base64Of(testing::makeCertificate("/CN=forever", "99991231235959Z"))),
            ChannelReply::success(true));
  EXPECT_EQ(check("forever", "2300-01-01T00:00:00Z"), ChannelReply::success(true));
  EXPECT_EQ(check("forever", "9999-12-31T23:59:59Z"), ChannelReply::success(false));
  EXPECT_TRUE(fs::exists(host_.directory() + "/home/.pki/nssdb/cert9.db"));
  // One file for each check that found its certificate, named by a fresh upper-case UUID.
  const std::regex uuidFile("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.cer");
  std::size_t certificateFiles = 0;
  for (const auto& entry : fs::directory_iterator(host_.directory())) {
    certificateFiles += std::regex_match(entry.path().filename().string(), uuidFile) ? 1U : 0U;
  }
  EXPECT_EQ(certificateFiles, 5U);
  EXPECT_EQ(host_.stop(), 0);
  EXPECT_EQ(host_.output(), "");
}

}  // namespace
}  // namespace quillon
