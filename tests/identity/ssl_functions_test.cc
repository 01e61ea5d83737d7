// SSLFunctions over fakes, and the two readings it makes: the certificate's
// base64 text and the end date that openssl prints.
#include "identity/ssl_functions.h"

#include <gtest/gtest.h>

#include "identity/base64.h"
#include "identity/end_date_text.h"
#include "tests/identity/fake_identity_platform.h"

namespace quillon {
namespace {

using std::chrono::seconds;
using testing::finishedRun;
using Lines = std::vector<std::string>;

const std::vector<std::uint8_t> kDer{0x30, 0x03, 0x02, 0x01, 0x07};
const Instant kEnd = Instant(seconds(1'893'542'400));  // 2030-01-02T00:00:00Z
constexpr const char* kEndText = "Jan  2 00:00:00 2030 GMT";

class SSLFunctionsTest : public ::testing::Test {
 protected:
  SSLFunctionsTest() {
    platform.keychain.stored["Quillon Gateway"] = kDer;
    platform.dates.dates[kEndText] = kEnd;
    platform.tools.answer = finishedRun(std::string("notAfter=") + kEndText + "\n");
  }

  bool available(Instant expirationDate, const std::string& subject = "Quillon Gateway") {
    return SSLFunctions::isCertificateAvailable(platform.services, subject, expirationDate);
  }
  Instant endOfValidity() {
    return SSLFunctions::getCertificateExpirationDate(platform.services, testing::FakeKeychain::certificate(kDer));
  }

  testing::FakeIdentityPlatform platform;
};

TEST_F(SSLFunctionsTest, AvailableOnlyWhenTheEndLiesStrictlyLater) {
  EXPECT_TRUE(available(kEnd - seconds(1)));
  EXPECT_FALSE(available(kEnd));
  EXPECT_FALSE(available(kEnd + seconds(1)));
  ASSERT_EQ(platform.keychain.searches.size(), 3U);
  EXPECT_EQ(platform.keychain.searches[0].itemClass, ItemClass::kCertificate);
  EXPECT_EQ(platform.keychain.searches[0].label, "Quillon Gateway");
  // No certificate of the label: nothing written, nothing run.
  EXPECT_FALSE(available(Instant{}, "quillon gateway"));
  EXPECT_EQ(platform.tools.calls.size(), 3U);
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

TEST_F(SSLFunctionsTest, WritesTheDerFileAndReadsItsEndWithOpenssl) {
  EXPECT_EQ(endOfValidity(), kEnd);
  const std::string file = "/tmp/user/0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F9.cer";
  EXPECT_EQ(platform.temporaryDirectory.files, (std::map<std::string, std::vector<std::uint8_t>>{{file, kDer}}));
  EXPECT_EQ(platform.tools.calls, (std::vector<testing::ToolCall>{{"/usr/bin/openssl",
                                                                    {"x509", "-in", file, "-noout", "-enddate"},
                                                                    ToolRunner::Streams::kOutputAndError}}));
  EXPECT_EQ(platform.dates.asked, (std::vector<std::pair<std::string, std::string>>{{"MMM d HH:mm:ss yyyy z", kEndText}}));
}

// Whatever goes wrong, the end of validity is the current instant: such a
// certificate is available only for dates already past.
TEST_F(SSLFunctionsTest, AnUnreadableEndIsTheCurrentInstant) {
  const Expected<void> written;
  const std::tuple<const char*, Expected<void>, Expected<ToolRun>, Lines> cases[] = {
      {"file not written", Failure{"Permission denied"}, finishedRun(""), {"Error saving certificate to file: Permission denied"}},
      {"tool not started", written, testing::notStartedRun(), {"Error running OpenSSL: No such file or directory"}},
      {"no date", written, finishedRun("Could not open file or uri for loading certificate from x.cer\n"), {}},
      {"date not UTF-8", written, finishedRun("notAfter=\xff"), {}},
      {"date not known", written, finishedRun("notAfter=Feb 30 00:00:00 2030 GMT"), {}},
  };
  for (const auto& [name, writeResult, run, lines] : cases) {
    SCOPED_TRACE(name);
    platform.temporaryDirectory.writeResult = writeResult;
    platform.tools.answer = run;
    platform.tools.calls.clear();
    platform.diagnostics.lines.clear();
    EXPECT_EQ(endOfValidity(), platform.clock.instant);
    EXPECT_EQ(platform.tools.calls.size(), writeResult ? 1U : 0U);
    EXPECT_EQ(platform.diagnostics.lines, lines);
    EXPECT_TRUE(available(platform.clock.instant - seconds(1)));
    EXPECT_FALSE(available(platform.clock.instant));
  }
}

TEST_F(SSLFunctionsTest, AddsTheDecodedCertificateOrAnswersFalse) {
  EXPECT_TRUE(SSLFunctions::addCertificate(platform.services, "MAMCAQc=\n"));
  EXPECT_EQ(platform.keychain.added, std::vector<std::vector<std::uint8_t>>{kDer});
  EXPECT_FALSE(SSLFunctions::addCertificate(platform.services, "MAMCAQc"));  // unpadded
  EXPECT_FALSE(SSLFunctions::addCertificate(platform.services, "AQID"));     // not a certificate
  EXPECT_EQ(platform.keychain.added.size(), 1U);
  for (const auto refusal : {KeychainError::kDuplicateItem, KeychainError::kUnavailable}) {
    platform.keychain.addResult = refusal;
    EXPECT_FALSE(SSLFunctions::addCertificate(platform.services, "MAMCAQc="));
  }
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

TEST(MacAddressTest, FirstInterfaceWithAUtf8AddressWins) {
  using Interfaces = std::optional<std::vector<NetworkInterface>>;
  const std::tuple<Interfaces, std::string, Lines> cases[] = {
      {std::vector<NetworkInterface>{{"a", {}}, {"b", {}}, {"c", "02:00:00:00:00:0c"}}, "02:00:00:00:00:0c", {}},
      {std::vector<NetworkInterface>{{"wlan0", "AA:bb:cc"}, {"eth0", "02:00:00:00:00:01"}}, "AA:bb:cc", {}},
      {std::vector<NetworkInterface>{{"a", "\xFF\xFE"}, {"b", "02:00:00:00:00:0b"}}, "02:00:00:00:00:0b", {}},
      {std::vector<NetworkInterface>{{"a", {}}}, "", {"No MAC address found."}},
      {std::vector<NetworkInterface>{}, "", {"No MAC address found."}},
      {std::nullopt, "", {"Failed to get network interfaces."}},
  };
  for (const auto& [interfaces, address, lines] : cases) {
    testing::FakeIdentityPlatform platform;
    platform.interfaces.interfaces = interfaces;
    EXPECT_EQ(SSLFunctions::getMacAddress(platform.services), address);
    EXPECT_EQ(platform.diagnostics.lines, lines);
  }
}

TEST(PlatformUuidTest, AnswersThePlatformValueOrEmptyWithoutALine) {
  testing::FakeIdentityPlatform platform;
  for (const auto& [uuid, answer] : std::vector<std::pair<std::optional<std::string>, std::string>>{
           {std::nullopt, ""},
           {"4C4C4544-0042-3510-8052-B4C04F564433", "4C4C4544-0042-3510-8052-B4C04F564433"},
           {"4C4C4544-\xC0\x80", ""}}) {
    platform.hardware.uuid = uuid;
    EXPECT_EQ(SSLFunctions::getPlatformUUID(platform.services), answer);
  }
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

using Bytes = std::vector<std::uint8_t>;

TEST(Base64Test, DecodesByTheStoreRules) {
  const Bytes man{'M', 'a', 'n'};
  const Bytes ma{'M', 'a'};
  const Bytes m{'M'};
  const std::pair<const char*, std::optional<Bytes>> cases[] = {
      {"", Bytes{}}, {"TWFu", man}, {"TWE=", ma}, {"TQ==", m}, {"TWFuTWFu", Bytes{'M', 'a', 'n', 'M', 'a', 'n'}},
      // Stray characters are skipped: line breaks, blanks, "-", "_", anything else.
      {"TW\nFu", man}, {" T W F u ", man}, {"TW\r\nE=\n", ma}, {"T-W_F*u", man}, {"TQ=\n=", m},
      {"\xc3\xa9TWFu", man}, {"/+8=", Bytes{0xff, 0xef}},
      // Unpadded text, a lone character, too much padding, padding in the middle.
      {"TWE", std::nullopt}, {"TQ", std::nullopt}, {"T", std::nullopt}, {"T===", std::nullopt},
      {"TQ===", std::nullopt}, {"====", std::nullopt}, {"TQ==TWFu", std::nullopt}, {"TWE=u", std::nullopt},
      {"TWFu=", std::nullopt},
      // URL-safe letters are not the alphabet: skipping them leaves a broken length.
      {"_-8=", std::nullopt},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(decodeBase64SkippingUnknown(text), bytes) << text;
}

TEST(EndDateTextTest, TakesTheTrimmedLastPiece) {
  const std::pair<std::string, std::optional<std::string>> cases[] = {
      {"notAfter=Jan  2 00:00:00 2030 GMT\n", "Jan  2 00:00:00 2030 GMT"},
      {"a=b=c=Mar 31 23:59:59 2031 GMT", "Mar 31 23:59:59 2031 GMT"},
      {"notAfter=Jan 2 00:00:00 2030 GMT==", "Jan 2 00:00:00 2030 GMT"},
      {"==x", "x"}, {"no sign at all \r\n", "no sign at all"}, {"=  \t date \t\n ", "\t date \t"},
      // U+0085, U+2028 and U+00A0 are trimmed; they are all white space or line breaks.
      {"=\xc2\x85\xe2\x80\xa8\xc2\xa0" "date\xc2\xa0", "date"},
      {"= \n", ""}, {"", std::nullopt}, {"===", std::nullopt},
      {"notAfter=\xff\xfe", std::nullopt}, {"\xc3(=date", std::nullopt},
  };
  for (const auto& [output, text] : cases) {
    EXPECT_EQ(endDateText(std::vector<std::uint8_t>(output.begin(), output.end())), text)
        << ::testing::PrintToString(output);
  }
}

}  // namespace
}  // namespace quillon
