// The Linux sources of the identity values, on fixtures and on this machine;
// the keychain on real NSS databases.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "platform/linux/identity/icu_date_parser.h"
#include "platform/linux/identity/linux_hardware_identity.h"
#include "platform/linux/identity/linux_temporary_directory.h"
#include "platform/linux/identity/nss_keychain.h"
#include "platform/linux/identity/sysfs_network_interfaces.h"
#include "platform/linux/system/small_file.h"
#include "tests/identity/test_certificates.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

void writeText(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

TEST(SysfsNetworkInterfacesTest, ListsDeviceBackedInterfacesInIndexOrder) {
  const testing::ScratchDirectory root;
  // Name, index, address (of length 0 when empty, else 6) and whether a device backs it.
  for (const auto& [name, index, address, device] : std::initializer_list<std::tuple<std::string, int, std::string, bool>>{
           {"lo", 1, "00:00:00:00:00:00", false}, {"veth9", 2, "ee:ee:ee:ee:ee:ee", false},
           {"wlan0", 7, "AA:bb:CC:00:11:22", true}, {"eth0", 3, "02:fc:00:00:00:01", true}, {"wwan0", 5, "", true}}) {
    const fs::path directory = root.path() + "/" + name;
    writeText(directory / "ifindex", std::to_string(index) + "\n");
    writeText(directory / "addr_len", address.empty() ? "0\n" : "6\n");
    writeText(directory / "address", address + "\n");
    if (device) fs::create_directories(directory / "device");
  }
  const auto interfaces = SysfsNetworkInterfaces(root.path()).list();
  ASSERT_TRUE(interfaces);
  std::vector<std::pair<std::string, std::optional<std::string>>> listed;
  for (const auto& interface : *interfaces) listed.emplace_back(interface.name, interface.hardwareAddress);
  EXPECT_EQ(listed, (decltype(listed){{"eth0", "02:fc:00:00:00:01"}, {"wwan0", std::nullopt},
                                      {"wlan0", "AA:bb:CC:00:11:22"}}));
  EXPECT_EQ(SysfsNetworkInterfaces("/nonexistent/class/net").list(), std::nullopt);
  const auto ours = SysfsNetworkInterfaces().list();
  ASSERT_TRUE(ours);
  for (const NetworkInterface& interface : *ours) {
    EXPECT_TRUE(fs::exists("/sys/class/net/" + interface.name + "/device")) << interface.name;
  }
}

TEST(LinuxHardwareIdentityTest, PrefersDmiThenTheMachineId) {
  using Text = std::optional<std::string>;
  const std::tuple<Text, Text, Text> cases[] = {  // product_uuid, machine-id, the answer
      {"4c4c4544-0042-3510-8052-b4c04f564433\n", "3d1219c7c4c5404aaa1f6d2a48adfda4\n",
       "4c4c4544-0042-3510-8052-b4c04f564433"},
      {std::nullopt, "3d1219c7c4c5404aaa1f6d2a48adfda4\n", "3D1219C7-C4C5-404A-AA1F-6D2A48ADFDA4"},
      {"", "3d1219c7c4c5404aaa1f6d2a48adfda4", "3D1219C7-C4C5-404A-AA1F-6D2A48ADFDA4"},
      {std::nullopt, "uninitialized\n", std::nullopt},
      {std::nullopt, std::nullopt, std::nullopt},
  };
  for (const auto& [productUuid, machineId, answer] : cases) {
    const testing::ScratchDirectory root;
    const std::string product = root.path() + "/product_uuid";
    const std::string machine = root.path() + "/machine-id";
    if (productUuid) writeText(product, *productUuid);
    if (machineId) writeText(machine, *machineId);
    EXPECT_EQ(LinuxHardwareIdentity(product, machine).platformUuid(), answer);
  }
  // Every systemd installation has a machine id, so this machine's answer is never empty there.
  if (fs::exists("/etc/machine-id")) {
    const std::string uuid = LinuxHardwareIdentity().platformUuid().value_or("");
    EXPECT_TRUE(std::regex_match(uuid, std::regex("[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}"))) << uuid;
  }
}

TEST(SmallFileTest, AFileThatOpensButCannotBeReadIsNothing) {
  // read() of a directory fails, as that of a /proc file whose process ends after the open.
  const testing::ScratchDirectory root;
  EXPECT_EQ(readSmallFile(root.path()), std::nullopt);
}

// The bytes it writes are read by openssl in ssl_end_to_end_test. (Each test
// runs in a process of its own: the environment changes here stay here.)
TEST(LinuxTemporaryDirectoryTest, WritesNewPrivateFilesInTmpdirElseTmpAndRemovesThem) {
  const testing::ScratchDirectory root;
  ::setenv("TMPDIR", (root.path() + "/").c_str(), 1);
  const mode_t umaskBefore = ::umask(0);
  LinuxTemporaryDirectory temporary;
  EXPECT_EQ(temporary.path(), root.path());
  const std::string file = root.path() + "/x.cer";
  EXPECT_TRUE(temporary.writeNewFile(file, {0x30, 0x00}).hasValue());
  ::umask(umaskBefore);
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(readSmallFile(file), std::string("\x30\x00", 2));
  // A name that is taken, by a file or by a link to where the bytes would go, is
  // refused and left as it was.
  const std::string link = root.path() + "/link.cer";
  fs::create_symlink(root.path() + "/target", link);
  for (const std::string& taken : {file, link}) {
    const Expected<void> refused = temporary.writeNewFile(taken, {0x31});
    ASSERT_FALSE(refused.hasValue());
    EXPECT_THAT(refused.error().reason, ::testing::HasSubstr("File exists"));
  }
  EXPECT_EQ(readSmallFile(file), std::string("\x30\x00", 2));
  EXPECT_FALSE(fs::exists(root.path() + "/target"));
  const Expected<void> unwritten = temporary.writeNewFile(root.path() + "/missing/x.cer", {0x30});
  ASSERT_FALSE(unwritten.hasValue());
  EXPECT_THAT(unwritten.error().reason, ::testing::HasSubstr("No such file or directory"));
  // A write that fails halfway (here past the file size limit) leaves nothing.
  const auto signalBefore = ::signal(SIGXFSZ, SIG_IGN);
  rlimit limitBefore{};
  ::getrlimit(RLIMIT_FSIZE, &limitBefore);
  const rlimit oneByte{1, limitBefore.rlim_max};
  EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &oneByte), 0);
  const Expected<void> cut = temporary.writeNewFile(root.path() + "/cut.cer", {0x30, 0x00});
  ::setrlimit(RLIMIT_FSIZE, &limitBefore);
  ::signal(SIGXFSZ, signalBefore);
  ASSERT_FALSE(cut.hasValue());
  EXPECT_THAT(cut.error().reason, ::testing::HasSubstr("File too large"));
  EXPECT_FALSE(fs::exists(root.path() + "/cut.cer"));
  // Removed; one already gone is no failure; one that cannot go says why.
  EXPECT_TRUE(temporary.removeFile(file).hasValue());
  EXPECT_FALSE(fs::exists(file));
  EXPECT_TRUE(temporary.removeFile(file).hasValue());
  const Expected<void> kept = temporary.removeFile(root.path());
  ASSERT_FALSE(kept.hasValue());
  EXPECT_THAT(kept.error().reason, ::testing::HasSubstr("Could not remove"));
  ::unsetenv("TMPDIR");
  EXPECT_EQ(temporary.path(), "/tmp");
}

constexpr const char* kEndDatePattern = "MMM d HH:mm:ss yyyy z";

// The cases are in openssl's English; neither ICU's default locale nor its
// default zone may matter, as the text names its zone.
TEST(IcuDateParserTest, ReadsOpensslDates) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("en_US"), status);
  icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("Europe/Berlin"));
  const std::pair<const char*, std::optional<std::int64_t>> cases[] = {
      {"Jan  2 00:00:00 2030 GMT", 1'893'542'400}, {"Jan 2 00:00:00 2030 GMT", 1'893'542'400},
      {"Jan 02 00:00:00 2030 GMT", 1'893'542'400}, {"Dec 31 23:59:59 2049 GMT", 2'524'607'999},
      // What a certificate that never expires says (99991231235959Z).
      {"Dec 31 23:59:59 9999 GMT", 253'402'300'799},
      {"Jan  2 00:00:00 2030 GMT  \t", 1'893'542'400}, {"Jan  2 00:00:00 2030 UTC", 1'893'542'400},
      {"Jan  2 01:00:00 2030 GMT+1", 1'893'542'400},
      // Text after the date, impossible dates, missing parts.
      {"Jan  2 00:00:00 2030 GMT trailing", {}}, {"Feb 30 00:00:00 2030 GMT", {}}, {"Jan  2 24:00:00 2030 GMT", {}},
      {"Jan  2 00:00:00 GMT", {}}, {"2030-01-02T00:00:00Z", {}}, {"Could not open file", {}}, {"", {}},
      {"Jan  2 00:00:00 999999999999 GMT", {}},
  };
  for (const auto& [text, epochSeconds] : cases) {
    const auto expected = epochSeconds ? std::optional<Instant>(Instant(std::chrono::seconds(*epochSeconds))) : std::nullopt;
    EXPECT_EQ(IcuDateParser().parse(kEndDatePattern, "en_US_POSIX", text), expected) << text;
  }
}

// Each month of openssl's English reads the same whatever ICU's default locale,
// which comes from the user's language: other month names, other digits
// (ar_EG), other calendars (th_TH's Buddhist era, fa_IR's Persian one).
TEST(IcuDateParserTest, ReadsOpensslDatesInEveryLanguage) {
  using namespace std::chrono;
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (const char* language : {"en_US_POSIX", "en_US", "de_DE", "fr_FR", "ja_JP", "ar_EG", "th_TH", "fa_IR"}) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale(language), status);
    ASSERT_TRUE(U_SUCCESS(status)) << language;
    for (unsigned month = 1; month <= 12; ++month) {
      const std::string text = std::string(kMonths[month - 1]) + "  5 12:00:00 2031 GMT";
      const Instant end = sys_days(year(2031) / std::chrono::month(month) / 5) + hours(12);
      EXPECT_EQ(IcuDateParser().parse(kEndDatePattern, "en_US_POSIX", text), end) << language << ": " << text;
    }
  }
}

// Each test works on a database of its own, created by the first addition.
class NssKeychainTest : public ::testing::Test {
 protected:
  Expected<void, KeychainError> add(const std::vector<std::uint8_t>& der) {
    auto certificate = keychain.makeCertificate(der);
    EXPECT_TRUE(certificate);
    if (!certificate) return KeychainError::kUnavailable;
    return keychain.add(AddRequest{ItemClass::kCertificate, *std::move(certificate)});
  }
  std::optional<std::vector<std::uint8_t>> find(const std::string& label) {
    auto found = keychain.copyMatching(SearchRequest{ItemClass::kCertificate, label});
    if (!found.hasValue()) return std::nullopt;
    return found->der();
  }

  // certutil, another program of the machine sharing the database while the
  // keychain keeps it open: "-A" adds `der` as `label`, "-D" deletes `label`.
  void certutil(const std::string& operation, const std::string& label, const std::vector<std::uint8_t>& der = {}) {
    const std::string file = home.path() + "/shared.der";
    std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(der.data()), std::ssize(der));
    const std::string command = "certutil -d 'sql:" + database + "' " + operation + " -n '" + label + "'" +
                                (operation == "-A" ? " -t ,, -i '" + file + "'" : "") + " >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }

  testing::ScratchDirectory home;
  std::string database = home.path() + "/.pki/nssdb";
  NssKeychain keychain{database};
};

// The label is the subject's last common name, else what comes before it, and
// is compared exactly.
TEST_F(NssKeychainTest, AddedCertificatesAreFoundByTheirLabelOnly) {
  struct Case {
    const char* subject;
    const char* label;
    std::vector<std::string> otherLabels;
  };
  const Case cases[] = {
      {"/CN=Quillon Gateway/O=Pylon", "Quillon Gateway",
       // NSS reads labels up to their first NUL; a label that goes on is another one.
       {"quillon gateway", "Quillon", "Pylon", std::string("Quillon Gateway\0 other", 22)}},
      {"/CN=host.example:8443", "host.example:8443", {"host.example", "NSS Certificate DB:host.example:8443"}},
      {"/O=Org/OU=Unit/CN=first/CN=second", "second", {"first"}},
      {"/O=Org/OU=Unit", "Unit", {}},
      {"/O=Org only", "Org only", {}},
      {"/serialNumber=42", "X509 Certificate", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.subject);
    const auto der = testing::makeCertificate(c.subject);
    EXPECT_TRUE(add(der).hasValue());
    EXPECT_EQ(add(der), KeychainError::kDuplicateItem);
    EXPECT_EQ(find(c.label), der);
    for (const std::string& other : c.otherLabels) EXPECT_EQ(find(other), std::nullopt) << other;
  }
  EXPECT_TRUE(fs::exists(database + "/cert9.db"));
}

TEST_F(NssKeychainTest, ADifferentSubjectWithATakenLabelGetsANumberedOne) {
  const auto first = testing::makeCertificate("/CN=shared/O=First");
  const auto second = testing::makeCertificate("/CN=shared/O=Second");
  const auto third = testing::makeCertificate("/CN=shared/O=Third");
  for (const auto& der : {first, second, third}) EXPECT_TRUE(add(der).hasValue());
  EXPECT_EQ(find("shared"), first);
  EXPECT_EQ(find("shared #2"), second);
  EXPECT_EQ(find("shared #3"), third);
}

TEST_F(NssKeychainTest, LookupsSeeWhatOtherProgramsChangeWhileTheDatabaseIsOpen) {
  const auto ours = testing::makeCertificate("/CN=ours");
  const auto theirs = testing::makeCertificate("/CN=theirs");
  EXPECT_TRUE(add(ours).hasValue());
  EXPECT_EQ(find("theirs"), std::nullopt);
  certutil("-A", "theirs", theirs);
  EXPECT_EQ(find("theirs"), theirs);
  certutil("-D", "ours");
  EXPECT_EQ(find("ours"), std::nullopt);
  EXPECT_TRUE(add(ours).hasValue());
  EXPECT_EQ(find("ours"), ours);
}

// A lookup creates no database; one that another program created, first
// opened for lookups, takes additions.
TEST_F(NssKeychainTest, ADatabaseFirstOpenedForLookupsTakesAdditions) {
  EXPECT_EQ(find("anything"), std::nullopt);
  EXPECT_FALSE(fs::exists(database));
  ASSERT_EQ(std::system(("mkdir -p '" + database + "' && certutil -N --empty-password -d 'sql:" + database + "'").c_str()), 0);
  const auto der = testing::makeCertificate("/CN=later");
  EXPECT_EQ(find("later"), std::nullopt);
  EXPECT_TRUE(add(der).hasValue());
  EXPECT_EQ(find("later"), der);
  EXPECT_EQ(add(der), KeychainError::kDuplicateItem);
}

TEST_F(NssKeychainTest, MakesCertificatesOfDerOnly) {
  auto der = testing::makeCertificate("/CN=bytes");
  EXPECT_TRUE(keychain.makeCertificate(der));
  EXPECT_FALSE(keychain.makeCertificate({}));
  EXPECT_FALSE(keychain.makeCertificate({0x30, 0x03, 0x02, 0x01, 0x07}));
  auto truncated = der;
  truncated.pop_back();
  EXPECT_FALSE(keychain.makeCertificate(truncated));
  der.push_back(0x00);
  EXPECT_FALSE(keychain.makeCertificate(der));
}

}  // namespace
}  // namespace quillon
