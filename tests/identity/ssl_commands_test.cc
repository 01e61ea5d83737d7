// The "ssl::" catalogue over fakes: the arguments it takes and what
// SSLFunctions answers for each command, exactly; and the readings it makes:
// the dates it takes, the certificate's base64 text and the end date that
// openssl prints.
#include <gtest/gtest.h>

#include "commands/command_dispatcher.h"
#include "commands/internet_date_time.h"
#include "commands/ssl_commands.h"
#include "identity/base64.h"
#include "identity/end_date_text.h"
#include "tests/identity/fake_identity_platform.h"
#include "tests/support/inline_background_work.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using std::chrono::seconds;
using testing::argumentMap;
using testing::finishedRun;
using Lines = std::vector<std::string>;
using Files = std::map<std::string, std::vector<std::uint8_t>>;

const std::vector<std::uint8_t> kDer{0x30, 0x03, 0x02, 0x01, 0x07};
constexpr const char* kEndText = "Jan  2 00:00:00 2030 GMT";  // 2030-01-02T00:00:00Z

class SslCommandsTest : public ::testing::Test {
 protected:
  SslCommandsTest() {
    platform.keychain.stored["Quillon Gateway"] = kDer;
    platform.dates.dates[kEndText] = Instant(seconds(1'893'542'400));
    platform.tools.answer = finishedRun(std::string("notAfter=") + kEndText + "\n");
  }

  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    return testing::answerOf([&](ReplyCallback reply) { dispatcher.handle({method, std::move(arguments)}, std::move(reply)); });
  }
  ChannelReply check(ChannelValue expirationDate, const std::string& subject = "Quillon Gateway") {
    return call("ssl::isCertificateAvailable", argumentMap({{"subject", subject}, {"expirationDate", expirationDate}}));
  }
  ChannelReply add(ChannelValue certificate) {
    return call("ssl::addCertificate", argumentMap({{"certificate", std::move(certificate)}, {"other", 1}}));
  }

  testing::FakeIdentityPlatform platform;
  testing::InlineBlockingWork work;
  CommandDispatcher dispatcher{sslCommands(platform.services, work.blocking)};
};

// The end that openssl reads from the certificate's file, against the date in
// any zone (InternetDateTimeTest holds the dates refused; one is enough to
// show the refusal here).
TEST_F(SslCommandsTest, AvailableOnlyWhenTheEndLiesStrictlyLaterThanTheDateOrRefused) {
  EXPECT_EQ(check("2030-01-01T23:59:59Z"), ChannelReply::success(true));
  // The file is there while openssl reads it, and gone afterwards.
  const std::string file = "/tmp/user/0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F9.cer";
  EXPECT_EQ(platform.toolsSeeingFiles.filesAtRuns, (std::vector<Files>{{{file, kDer}}}));
  EXPECT_EQ(platform.tools.calls, (std::vector<testing::ToolCall>{{"/usr/bin/openssl",
                                                                    {"x509", "-in", file, "-noout", "-enddate"},
                                                                    ToolRunner::Streams::kOutputAndError,
                                                                    std::chrono::seconds(10)}}));
  EXPECT_EQ(platform.temporaryDirectory.files, Files{});
  EXPECT_EQ(platform.temporaryDirectory.removed, Lines{file});
  // openssl's English, whatever the user's language.
  EXPECT_EQ(platform.dates.asked,
            (std::vector<std::array<std::string, 3>>{{"MMM d HH:mm:ss yyyy z", "en_US_POSIX", kEndText}}));
  EXPECT_EQ(check("2030-01-02T00:00:00Z"), ChannelReply::success(false));
  EXPECT_EQ(check("2030-01-02T00:59:59+01:00"), ChannelReply::success(true));
  EXPECT_EQ(check("2030-01-02T01:00:00+01:00"), ChannelReply::success(false));
  EXPECT_EQ(check("2030-01-02T00:00:01Z"), ChannelReply::success(false));
  ASSERT_EQ(platform.keychain.searches.size(), 5U);
  EXPECT_EQ(platform.keychain.searches[0].itemClass, ItemClass::kCertificate);
  EXPECT_EQ(platform.keychain.searches[0].label, "Quillon Gateway");
  // No certificate of the label: nothing written, nothing run.
  EXPECT_EQ(check("2000-01-01T00:00:00Z", "quillon gateway"), ChannelReply::success(false));
  EXPECT_EQ(platform.tools.calls.size(), 5U);
  EXPECT_TRUE(platform.diagnostics.lines.empty());
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
  EXPECT_EQ(platform.keychain.searches.size(), 6U);
}

// Whatever goes wrong, the end of validity is the current instant (the fake
// clock's 2023-11-14T22:13:20Z): such a certificate is available only for
// dates already past. A file that was written is removed on every path.
TEST_F(SslCommandsTest, AnUnreadableEndIsTheCurrentInstant) {
  const Expected<void> written;
  const std::tuple<const char*, Expected<void>, Expected<ToolRun>, Lines> cases[] = {
      {"file not written", Failure{"Permission denied"}, finishedRun(""), {"Error saving certificate to file: Permission denied"}},
      {"tool not started", written, testing::notStartedRun(), {"Error running OpenSSL: No such file or directory"}},
      {"tool failed", written, finishedRun("Could not open file or uri for loading certificate from x.cer\n", 1), {}},
      {"nothing printed", written, finishedRun(""), {}},
      {"date not UTF-8", written, finishedRun("notAfter=\xff"), {}},
      {"date not known", written, finishedRun("notAfter=Feb 30 00:00:00 2030 GMT"), {}},
  };
  for (const auto& [name, writeResult, run, lines] : cases) {
    SCOPED_TRACE(name);
    platform.temporaryDirectory.writeResult = writeResult;
    platform.temporaryDirectory.removed.clear();
    platform.tools.answer = run;
    platform.tools.calls.clear();
    platform.diagnostics.lines.clear();
    EXPECT_EQ(check("2023-11-14T22:13:19Z"), ChannelReply::success(true));
    EXPECT_EQ(platform.tools.calls.size(), writeResult.hasValue() ? 1U : 0U);
    EXPECT_EQ(platform.diagnostics.lines, lines);
    EXPECT_EQ(check("2023-11-14T22:13:20Z"), ChannelReply::success(false));
    EXPECT_EQ(platform.temporaryDirectory.files, Files{});
    EXPECT_EQ(platform.temporaryDirectory.removed.size(), writeResult.hasValue() ? 2U : 0U);
  }
}

// A file that cannot be removed is said, and changes no answer.
TEST_F(SslCommandsTest, AFileThatStaysIsSaid) {
  platform.temporaryDirectory.removeResult = Failure{"Operation not permitted"};
  EXPECT_EQ(check("2030-01-01T23:59:59Z"), ChannelReply::success(true));
  EXPECT_EQ(platform.diagnostics.lines, Lines{"Error removing certificate file: Operation not permitted"});
  platform.tools.answer = testing::notStartedRun();
  platform.temporaryDirectory.files.clear();
  platform.diagnostics.lines.clear();
  EXPECT_EQ(check("2023-11-14T22:13:19Z"), ChannelReply::success(true));
  EXPECT_EQ(platform.diagnostics.lines, (Lines{"Error running OpenSSL: No such file or directory",
                                               "Error removing certificate file: Operation not permitted"}));
}

TEST_F(SslCommandsTest, AddsTheDecodedCertificateOrAnswersFalseOrRefuses) {
  EXPECT_EQ(add("MAMCAQc=\n"), ChannelReply::success(true));
  EXPECT_EQ(platform.keychain.added, std::vector<std::vector<std::uint8_t>>{kDer});
  EXPECT_EQ(add("MAMCAQc"), ChannelReply::success(false));  // unpadded
  EXPECT_EQ(add("AQID"), ChannelReply::success(false));     // not a certificate
  EXPECT_EQ(platform.keychain.added.size(), 1U);
  for (const auto refusal : {KeychainError::kDuplicateItem, KeychainError::kUnavailable}) {
    platform.keychain.addResult = refusal;
    EXPECT_EQ(add("MAMCAQc="), ChannelReply::success(false));
  }
  for (const ChannelValue& arguments : {ChannelValue(), ChannelValue(ChannelList{ChannelValue("MAA=")}),
                                        argumentMap({{"certificate", std::int64_t{7}}}), argumentMap({{"cert", "MAA="}})}) {
    EXPECT_EQ(call("ssl::addCertificate", arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected certificate"));
  }
  EXPECT_EQ(platform.keychain.added.size(), 3U);
  EXPECT_TRUE(platform.diagnostics.lines.empty());
}

// A subject and a certificate up to their limits reach the keychain; a byte
// more is refused before it.
TEST_F(SslCommandsTest, SubjectsAndCertificatesBeyondTheirLimitsAreRefusedBeforeTheKeychain) {
  const std::string subject(4096, 's');
  // The store's base64 reading skips what is not in its alphabet: 1 MiB of text for a small certificate.
  const std::string certificate = "MAMCAQc=" + std::string(1024 * 1024 - 8, '\n');
  EXPECT_EQ(check("2020-01-01T00:00:00Z", subject), ChannelReply::success(false));
  EXPECT_EQ(check("2020-01-01T00:00:00Z", subject + "s"),
            ChannelReply::error("INVALID_ARGUMENT", "Expected subject of at most 4096 bytes"));
  ASSERT_EQ(platform.keychain.searches.size(), 1U);
  EXPECT_EQ(platform.keychain.searches[0].label, subject);
  EXPECT_EQ(add(certificate), ChannelReply::success(true));
  EXPECT_EQ(add(certificate + "\n"),
            ChannelReply::error("INVALID_ARGUMENT", "Expected certificate of at most 1048576 bytes"));
  EXPECT_EQ(platform.keychain.added, std::vector<std::vector<std::uint8_t>>{kDer});
}

// The identity commands ignore their arguments.
TEST_F(SslCommandsTest, MacAddressIsTheFirstInterfaceWithAUtf8AddressAndTheUuidThePlatformsValue) {
  using Interfaces = std::optional<std::vector<NetworkInterface>>;
  const std::tuple<Interfaces, std::string, Lines> addresses[] = {
      {std::vector<NetworkInterface>{{"a", {}}, {"b", {}}, {"c", "02:00:00:00:00:0c"}}, "02:00:00:00:00:0c", {}},
      {std::vector<NetworkInterface>{{"wlan0", "AA:bb:cc"}, {"eth0", "02:00:00:00:00:01"}}, "AA:bb:cc", {}},
      {std::vector<NetworkInterface>{{"a", "\xFF\xFE"}, {"b", "02:00:00:00:00:0b"}}, "02:00:00:00:00:0b", {}},
      {std::vector<NetworkInterface>{{"a", {}}}, "", {"No MAC address found."}},
      {std::vector<NetworkInterface>{}, "", {"No MAC address found."}},
      {std::nullopt, "", {"Failed to get network interfaces."}},
  };
  const std::pair<std::optional<std::string>, std::string> uuids[] = {
      {std::nullopt, ""}, {"4C4C4544-0042-3510-8052-B4C04F564433", "4C4C4544-0042-3510-8052-B4C04F564433"},
      {"4C4C4544-\xC0\x80", ""}};  // not UTF-8: empty, without a line
  for (const ChannelValue& sent : {ChannelValue(), ChannelValue("x"), argumentMap({{"a", 1}})}) {
    for (const auto& [interfaces, address, lines] : addresses) {
      platform.interfaces.interfaces = interfaces;
      platform.diagnostics.lines.clear();
      EXPECT_EQ(call("ssl::getMacAddress", sent), ChannelReply::success(address));
      EXPECT_EQ(platform.diagnostics.lines, lines);
    }
    platform.diagnostics.lines.clear();
    for (const auto& [uuid, answer] : uuids) {
      platform.hardware.uuid = uuid;
      EXPECT_EQ(call("ssl::getPlatformUUID", sent), ChannelReply::success(answer));
    }
    EXPECT_TRUE(platform.diagnostics.lines.empty());
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
