#include "platform/linux/identity/nss_keychain.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/identity/test_certificates.h"

namespace quillon {
namespace {

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
    if (!found) return std::nullopt;
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
    EXPECT_TRUE(add(der));
    EXPECT_EQ(add(der), KeychainError::kDuplicateItem);
    EXPECT_EQ(find(c.label), der);
    for (const std::string& other : c.otherLabels) EXPECT_EQ(find(other), std::nullopt) << other;
  }
  EXPECT_TRUE(std::filesystem::exists(database + "/cert9.db"));
}

TEST_F(NssKeychainTest, ADifferentSubjectWithATakenLabelGetsANumberedOne) {
  const auto first = testing::makeCertificate("/CN=shared/O=First");
  const auto second = testing::makeCertificate("/CN=shared/O=Second");
  const auto third = testing::makeCertificate("/CN=shared/O=Third");
  for (const auto& der : {first, second, third}) EXPECT_TRUE(add(der));
  EXPECT_EQ(find("shared"), first);
  EXPECT_EQ(find("shared #2"), second);
  EXPECT_EQ(find("shared #3"), third);
}

TEST_F(NssKeychainTest, LookupOfAMissingDatabaseCreatesNothing) {
  EXPECT_EQ(find("anything"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(database));
}

TEST_F(NssKeychainTest, LookupsSeeWhatOtherProgramsChangeWhileTheDatabaseIsOpen) {
  const auto ours = testing::makeCertificate("/CN=ours");
  const auto theirs = testing::makeCertificate("/CN=theirs");
  EXPECT_TRUE(add(ours));
  EXPECT_EQ(find("theirs"), std::nullopt);
  certutil("-A", "theirs", theirs);
  EXPECT_EQ(find("theirs"), theirs);
  certutil("-D", "ours");
  EXPECT_EQ(find("ours"), std::nullopt);
  EXPECT_TRUE(add(ours));
  EXPECT_EQ(find("ours"), ours);
}

TEST_F(NssKeychainTest, ADatabaseFirstOpenedForLookupsTakesAdditions) {
  ASSERT_EQ(std::system(("mkdir -p '" + database + "' && certutil -N --empty-password -d 'sql:" + database + "'").c_str()), 0);
  const auto der = testing::makeCertificate("/CN=later");
  EXPECT_EQ(find("later"), std::nullopt);
  EXPECT_TRUE(add(der));
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
