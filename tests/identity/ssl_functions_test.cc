#include "identity/ssl_functions.h"

#include <gtest/gtest.h>

#include "tests/identity/fake_identity_platform.h"

namespace quillon {
namespace {

using std::chrono::seconds;

const std::vector<std::uint8_t> kDer{0x30, 0x03, 0x02, 0x01, 0x07};
const Instant kEnd = Instant(seconds(1'893'542'400));  // 2030-01-02T00:00:00Z
constexpr const char* kEndText = "Jan  2 00:00:00 2030 GMT";

class SSLFunctionsTest : public ::testing::Test {
 protected:
  SSLFunctionsTest() {
    platform.keychain.stored["Quillon Gateway"] = kDer;
    platform.dates.dates[kEndText] = kEnd;
    platform.tools.prints(std::string("notAfter=") + kEndText + "\n");
  }

  bool available(Instant expirationDate) {
    return SSLFunctions::isCertificateAvailable(platform.services, "Quillon Gateway", expirationDate);
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
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

TEST_F(SSLFunctionsTest, SearchesByLabelWithExactlyTheTwoAttributes) {
  available(kEnd);
  ASSERT_EQ(platform.keychain.searches.size(), 1U);
  EXPECT_EQ(platform.keychain.searches[0].itemClass, ItemClass::kCertificate);
  EXPECT_EQ(platform.keychain.searches[0].label, "Quillon Gateway");
}

TEST_F(SSLFunctionsTest, NoCertificateWithTheLabelWritesNothingAndRunsNothing) {
  EXPECT_FALSE(SSLFunctions::isCertificateAvailable(platform.services, "quillon gateway", Instant{}));
  EXPECT_TRUE(platform.temporaryDirectory.files.empty());
  EXPECT_TRUE(platform.tools.invocations.empty());
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

TEST_F(SSLFunctionsTest, WritesTheDerFileAndRunsOpensslOnIt) {
  EXPECT_EQ(endOfValidity(), kEnd);
  const std::string file = "/tmp/user/0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F9.cer";
  ASSERT_EQ(platform.temporaryDirectory.files.count(file), 1U);
  EXPECT_EQ(platform.temporaryDirectory.files[file], kDer);
  ASSERT_EQ(platform.tools.invocations.size(), 1U);
  const auto& run = platform.tools.invocations[0];
  EXPECT_EQ(run.executable, "/usr/bin/openssl");
  EXPECT_EQ(run.arguments, (std::vector<std::string>{"x509", "-in", file, "-noout", "-enddate"}));
  EXPECT_EQ(run.streams, ToolRunner::Streams::kOutputAndError);
  EXPECT_EQ(platform.dates.patterns, std::vector<std::string>{"MMM d HH:mm:ss yyyy z"});
  EXPECT_EQ(platform.dates.texts, std::vector<std::string>{kEndText});
}

TEST_F(SSLFunctionsTest, ParsesOnlyTheTrimmedTextAfterTheLastSign) {
  platform.tools.prints(std::string("x=notAfter=  ") + kEndText + " \r\n\n");
  EXPECT_EQ(endOfValidity(), kEnd);
}

TEST_F(SSLFunctionsTest, AFileThatCannotBeWrittenGivesTheCurrentInstantWithoutARun) {
  platform.temporaryDirectory.writeError = "Permission denied";
  EXPECT_EQ(endOfValidity(), platform.clock.instant);
  EXPECT_TRUE(platform.tools.invocations.empty());
  EXPECT_EQ(platform.diagnostics.lines, std::vector<std::string>{"Error saving certificate to file: Permission denied"});
}

TEST_F(SSLFunctionsTest, AToolThatCannotStartGivesTheCurrentInstantAndOneLine) {
  platform.tools.answer = ToolRun{};
  platform.tools.answer.startError = "No such file or directory";
  EXPECT_EQ(endOfValidity(), platform.clock.instant);
  EXPECT_EQ(platform.diagnostics.lines, std::vector<std::string>{"Error running OpenSSL: No such file or directory"});
}

TEST_F(SSLFunctionsTest, AnUnreadableEndMakesTheCertificateAvailableOnlyForPastDates) {
  platform.tools.answer = ToolRun{};
  EXPECT_TRUE(available(platform.clock.instant - seconds(1)));
  EXPECT_FALSE(available(platform.clock.instant + seconds(1)));
  EXPECT_FALSE(available(platform.clock.instant));
}

TEST_F(SSLFunctionsTest, OutputWithoutADateGivesTheCurrentInstantSilently) {
  for (const std::string output : {"Could not open file or uri for loading certificate from x.cer\n", "", "===",
                                   "notAfter=\xff"}) {
    platform.tools.prints(output);
    EXPECT_EQ(endOfValidity(), platform.clock.instant) << output;
  }
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

TEST_F(SSLFunctionsTest, AddsTheDecodedCertificateWithExactlyTheTwoAttributes) {
  EXPECT_TRUE(SSLFunctions::addCertificate(platform.services, "MAMCAQc=\n"));
  EXPECT_EQ(platform.keychain.added, std::vector<std::vector<std::uint8_t>>{kDer});
}

TEST_F(SSLFunctionsTest, AddAnswersFalseForEveryFailure) {
  EXPECT_FALSE(SSLFunctions::addCertificate(platform.services, "MAMCAQc"));   // unpadded
  EXPECT_FALSE(SSLFunctions::addCertificate(platform.services, "AQID"));      // not a certificate
  EXPECT_TRUE(platform.keychain.added.empty());
  for (const auto status : {KeychainStatus::kDuplicateItem, KeychainStatus::kUnavailable}) {
    platform.keychain.addStatus = status;
    EXPECT_FALSE(SSLFunctions::addCertificate(platform.services, "MAMCAQc="));
  }
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

struct InterfaceWalkCase {
  const char* name;
  std::optional<std::vector<NetworkInterface>> interfaces;
  std::string expected;
  std::vector<std::string> lines;
};

void PrintTo(const InterfaceWalkCase& testCase, std::ostream* out) { *out << testCase.name; }

class MacAddressTest : public ::testing::TestWithParam<InterfaceWalkCase> {};

TEST_P(MacAddressTest, FirstInterfaceWithAnAddressWins) {
  testing::FakeIdentityPlatform platform;
  platform.interfaces.interfaces = GetParam().interfaces;
  EXPECT_EQ(SSLFunctions::getMacAddress(platform.services), GetParam().expected);
  EXPECT_EQ(platform.diagnostics.lines, GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(
    Walks, MacAddressTest,
    ::testing::Values(
        InterfaceWalkCase{"third", std::vector<NetworkInterface>{{"a", {}}, {"b", {}}, {"c", "02:00:00:00:00:0c"}},
                          "02:00:00:00:00:0c", {}},
        InterfaceWalkCase{"earlier", std::vector<NetworkInterface>{{"wlan0", "AA:bb:cc"}, {"eth0", "02:00:00:00:00:01"}},
                          "AA:bb:cc", {}},
        InterfaceWalkCase{"addressNotUtf8PassedOver",
                          std::vector<NetworkInterface>{{"a", "\xFF\xFE"}, {"b", "02:00:00:00:00:0b"}},
                          "02:00:00:00:00:0b", {}},
        InterfaceWalkCase{"none", std::vector<NetworkInterface>{{"a", {}}}, "", {"No MAC address found."}},
        InterfaceWalkCase{"empty", std::vector<NetworkInterface>{}, "", {"No MAC address found."}},
        InterfaceWalkCase{"unreadable", std::nullopt, "", {"Failed to get network interfaces."}}),
    [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(PlatformUuidTest, AnswersThePlatformValueOrEmptyWithoutALine) {
  testing::FakeIdentityPlatform platform;
  EXPECT_EQ(SSLFunctions::getPlatformUUID(platform.services), "");
  platform.hardware.uuid = "4C4C4544-0042-3510-8052-B4C04F564433";
  EXPECT_EQ(SSLFunctions::getPlatformUUID(platform.services), "4C4C4544-0042-3510-8052-B4C04F564433");
  platform.hardware.uuid = "4C4C4544-\xC0\x80";
  EXPECT_EQ(SSLFunctions::getPlatformUUID(platform.services), "");
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

}  // namespace
}  // namespace quillon
