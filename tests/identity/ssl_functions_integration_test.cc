// SSLFunctions on the real Linux platform: an NSS database and a temporary
// directory of the test's own, the real /usr/bin/openssl, ICU and sysfs.
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <regex>
#include <sstream>

#include "identity/ssl_functions.h"
#include "platform/linux/glib_uuid_generator.h"
#include "platform/linux/icu_date_parser.h"
#include "platform/linux/linux_hardware_identity.h"
#include "platform/linux/linux_temporary_directory.h"
#include "platform/linux/nss_keychain.h"
#include "platform/linux/posix_tool_runner.h"
#include "platform/linux/sysfs_network_interfaces.h"
#include "platform/linux/system_clock.h"
#include "tests/identity/test_certificates.h"
#include "tests/support/capturing_diagnostics.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

Instant at(const char* internetDateTime) {
  std::tm fields{};
  std::istringstream(internetDateTime) >> std::get_time(&fields, "%Y-%m-%dT%H:%M:%S");
  return Instant(std::chrono::seconds(::timegm(&fields)));
}

class SSLFunctionsIntegrationTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
  }
  void SetUp() override {
    const char* saved = std::getenv("TMPDIR");
    savedTmpdir_ = saved ? std::optional<std::string>(saved) : std::nullopt;
    ::setenv("TMPDIR", temporary_.path().c_str(), 1);
  }
  void TearDown() override {
    if (savedTmpdir_) {
      ::setenv("TMPDIR", savedTmpdir_->c_str(), 1);
    } else {
      ::unsetenv("TMPDIR");
    }
  }

  std::vector<fs::path> temporaryFiles() const {
    return {fs::directory_iterator(temporary_.path()), fs::directory_iterator()};
  }

  testing::ScratchDirectory home_;
  testing::ScratchDirectory temporary_;
  std::optional<std::string> savedTmpdir_;
  NssKeychain keychain_{home_.path() + "/.pki/nssdb"};
  LinuxTemporaryDirectory temporaryDirectory_;
  GlibUuidGenerator uuids_;
  PosixToolRunner tools_;
  IcuDateParser dates_;
  SystemClock clock_;
  SysfsNetworkInterfaces interfaces_;
  LinuxHardwareIdentity hardware_;
  testing::CapturingDiagnostics diagnostics_;
  IdentityServices services{keychain_, temporaryDirectory_, uuids_, tools_, dates_,
                            clock_,    interfaces_,        hardware_, diagnostics_};
};

TEST_F(SSLFunctionsIntegrationTest, AddedCertificateIsValidUntilItsOneDigitDayEnd) {
  const auto der = testing::makeCertificate("/CN=Quillon Gateway/O=Pylon", "20300102000000Z");
  std::string text = testing::base64Of(der);
  text.insert(20, "\r\n ");
  ASSERT_TRUE(SSLFunctions::addCertificate(services, text));
  EXPECT_TRUE(SSLFunctions::isCertificateAvailable(services, "Quillon Gateway", at("2030-01-01T23:59:59")));
  EXPECT_FALSE(SSLFunctions::isCertificateAvailable(services, "Quillon Gateway", at("2030-01-02T00:00:00")));
  EXPECT_FALSE(SSLFunctions::isCertificateAvailable(services, "Quillon Gateway", at("2031-06-15T00:00:00")));
  EXPECT_TRUE(diagnostics_.lines.empty());
}

// RFC 5280's date for a certificate without a well-defined end, far past 2262.
TEST_F(SSLFunctionsIntegrationTest, ACertificateThatNeverExpiresIsAvailableForAnyDate) {
  ASSERT_TRUE(SSLFunctions::addCertificate(
      services, testing::base64Of(testing::makeCertificate("/CN=forever", "99991231235959Z"))));
  EXPECT_TRUE(SSLFunctions::isCertificateAvailable(services, "forever", at("2030-01-01T00:00:00")));
  EXPECT_TRUE(SSLFunctions::isCertificateAvailable(services, "forever", at("2300-01-01T00:00:00")));
  EXPECT_FALSE(SSLFunctions::isCertificateAvailable(services, "forever", at("9999-12-31T23:59:59")));
}

TEST_F(SSLFunctionsIntegrationTest, AddingTwiceAnswersTrueThenFalse) {
  const std::string text = testing::base64Of(testing::makeCertificate("/CN=twice"));
  EXPECT_TRUE(SSLFunctions::addCertificate(services, text));
  EXPECT_FALSE(SSLFunctions::addCertificate(services, text));
}

TEST_F(SSLFunctionsIntegrationTest, AMissingLabelLeavesNoFile) {
  ASSERT_TRUE(SSLFunctions::addCertificate(services, testing::base64Of(testing::makeCertificate("/CN=present"))));
  EXPECT_FALSE(SSLFunctions::isCertificateAvailable(services, "absent", at("2000-01-01T00:00:00")));
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(SSLFunctionsIntegrationTest, TheCheckLeavesTheDerFileNamedByAnUpperCaseUuid) {
  const auto der = testing::makeCertificate("/CN=file check", "20291130120000Z");
  ASSERT_TRUE(SSLFunctions::addCertificate(services, testing::base64Of(der)));
  EXPECT_TRUE(SSLFunctions::isCertificateAvailable(services, "file check", at("2029-11-30T11:59:59")));
  const auto files = temporaryFiles();
  ASSERT_EQ(files.size(), 1U);
  EXPECT_TRUE(std::regex_match(files[0].filename().string(),
                               std::regex("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.cer")))
      << files[0];
  std::ifstream file(files[0], std::ios::binary);
  EXPECT_EQ(std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()), der);
}

TEST_F(SSLFunctionsIntegrationTest, ThisMachinesIdentity) {
  const std::string mac = SSLFunctions::getMacAddress(services);
  if (mac.empty()) {
    EXPECT_EQ(diagnostics_.lines, std::vector<std::string>{"No MAC address found."});
  } else {
    EXPECT_TRUE(std::regex_match(mac, std::regex("[0-9a-f]{2}(:[0-9a-f]{2})+"))) << mac;
  }
  const std::string uuid = SSLFunctions::getPlatformUUID(services);
  // Every systemd installation has a machine ID, so the answer is never empty there.
  if (fs::exists("/etc/machine-id")) {
    EXPECT_TRUE(std::regex_match(uuid, std::regex("[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}"))) << uuid;
  }
}

}  // namespace
}  // namespace quillon
