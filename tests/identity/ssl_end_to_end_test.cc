// The "ssl::" certificate commands over the interface link of the built host,
// with its own NSS database (under its HOME) and temporary directory: the real
// openssl, ICU and NSS together. (The identity commands only read the two
// sources that linux_identity_platform_test checks on this machine.)
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "tests/identity/test_certificates.h"
#include "tests/support/host_conversation.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::argumentMap;

std::set<std::string> namesIn(const std::string& directory) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) names.insert(entry.path().filename().string());
  return names;
}

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
  // The host's temporary directory is the bundle directory.
  const std::set<std::string> before = namesIn(host_.directory());
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
  EXPECT_EQ(namesIn(host_.directory()), before);
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

// A stand-in for openssl, put over /usr/bin/openssl in the host's own mount
// namespace: it notes the mode and path of the file it is given and keeps a
// copy, then plays the part named in $HOME/part.
constexpr const char* kStandIn = R"sh(#!/bin/sh
echo "$(stat -c %a "$3") $3" >>"$HOME/runs"
cp "$3" "$HOME/seen.cer"
case "$(cat "$HOME/part")" in
  real) exec "$HOME/real-openssl" "$@" ;;
  failing) echo "Could not open file or uri for loading certificate from $3"; exit 1 ;;
  silent) exit 0 ;;
esac
)sh";

// Every path of a check that wrote its file (openssl reading the date, failing,
// printing nothing, not starting) leaves the temporary directory as it was.
// Each file was this user's alone and named by a fresh upper-case UUID.
TEST(SslTemporaryFileEndToEndTest, EveryPathLeavesTheTemporaryDirectoryAsItWas) {
  if (::geteuid() != 0) GTEST_SKIP() << "making a mount namespace needs root";
  testing::HostProcess host({.headless = true,
                             .launcher = {"/usr/bin/unshare", "--mount", "--propagation", "private", "/bin/sh", "-ec",
                                          "mount --bind \"$HOME/openssl\" /usr/bin/openssl\nexec \"$0\""}});
  const std::string home = host.directory() + "/home";
  fs::create_directories(home);
  fs::copy_file("/usr/bin/openssl", home + "/real-openssl");
  std::ofstream(home + "/openssl") << kStandIn;
  fs::permissions(home + "/openssl", fs::perms::owner_all);
  const auto der = testing::makeCertificate("/CN=Quillon Gateway", "20300102000000Z");
  host.start();
  ASSERT_TRUE(host.waitReady()) << host.errorOutput();
  const auto client = testing::connectTo(host);
  ASSERT_TRUE(client);
  ASSERT_EQ(add(*client, testing::base64Of(der)), ChannelReply::success(true));
  const std::set<std::string> before = namesIn(host.directory());
  // Against a date before the end: only a date read says true.
  const std::pair<std::string, bool> parts[] = {{"real", true}, {"failing", false}, {"silent", false}, {"not started", false}};
  for (const auto& [part, available] : parts) {
    SCOPED_TRACE(part);
    std::ofstream(home + "/part") << part;
    if (part == "not started") fs::permissions(home + "/openssl", fs::perms::owner_read);
    EXPECT_EQ(check(*client, "Quillon Gateway", "2029-12-31T00:00:00Z"), ChannelReply::success(available));
    EXPECT_EQ(namesIn(host.directory()), before);
  }
  EXPECT_EQ(host.stop(), 0);
  EXPECT_EQ(host.output(), "Error running OpenSSL: Permission denied\n");
  std::ifstream runs(home + "/runs");
  const std::regex run("600 " + host.directory() +
                       "/[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.cer");
  std::set<std::string> files;
  for (std::string line; std::getline(runs, line);) {
    EXPECT_TRUE(std::regex_match(line, run)) << line;
    files.insert(line);
  }
  EXPECT_EQ(files.size(), 3U);
  EXPECT_EQ(testing::readFile(home + "/seen.cer"), std::string(der.begin(), der.end()));
}

}  // namespace
}  // namespace quillon
