// The "ssl::" certificate commands over the interface link of the built host,
// with its own NSS database (under its HOME) and temporary directory: the real
// openssl, ICU and NSS together. (The identity commands only read the two
// sources that linux_identity_platform_test checks on this machine.)
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <regex>

#include "tests/identity/test_certificates.h"
#include "tests/support/host_conversation.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::argumentMap;

ChannelReply add(LinkClient& client, const std::string& text) {
  return testing::callHost(client, kNativeCommandChannel, "ssl::addCertificate",
                           argumentMap({{"certificate", text}}));
}

ChannelReply check(LinkClient& client, const std::string& subject, const std::string& date) {
  return testing::callHost(client, kNativeCommandChannel, "ssl::isCertificateAvailable",
                           argumentMap({{"subject", subject}, {"expirationDate", date}}));
}

class SslEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  ChannelReply add(const std::string& text) { return quillon::add(*client_, text); }
  ChannelReply check(const std::string& subject, const std::string& date) {
    return quillon::check(*client_, subject, date);
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

// The host started in the user's language (the machine has these locales:
// scripts/install-deps makes them): certificates that end on the 5th of each
// month of 2031 at noon read the same in each.
TEST(SslLanguagesEndToEndTest, EveryMonthReadsTheSameInEveryLanguage) {
  const auto twoDigits = [](unsigned number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  std::vector<std::string> certificates;
  for (unsigned month = 1; month <= 12; ++month) {
    certificates.push_back(testing::base64Of(
        testing::makeCertificate("/CN=Month " + std::to_string(month), "2031" + twoDigits(month) + "05120000Z")));
  }
  for (const char* locale : {"C.UTF-8", "en_US.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8", "ja_JP.UTF-8", "ar_EG.UTF-8"}) {
    SCOPED_TRACE(locale);
    ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr) << "the machine lacks the locale: run scripts/install-deps";
    std::setlocale(LC_ALL, "C");
    testing::HostProcess host({.environment = {{"LC_ALL", locale}}});
    host.start();
    ASSERT_TRUE(host.waitReady()) << host.errorOutput();
    const auto client = testing::connectTo(host);
    ASSERT_TRUE(client);
    for (unsigned month = 1; month <= 12; ++month) {
      const std::string label = "Month " + std::to_string(month);
      EXPECT_EQ(add(*client, certificates[month - 1]), ChannelReply::success(true)) << label;
      EXPECT_EQ(check(*client, label, "2031-" + twoDigits(month) + "-05T11:59:59Z"), ChannelReply::success(true))
          << label;
    }
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(host.output(), "");
  }
}

}  // namespace
}  // namespace quillon
