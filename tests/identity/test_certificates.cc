#include "tests/identity/test_certificates.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace quillon::testing {

namespace {

// A minimal self-signing authority: openssl's "ca" is the one command of
// openssl 3.0 that sets an exact end date.
constexpr const char* kAuthorityConfiguration = R"([ca]
default_ca = test
[test]
database = index.txt
new_certs_dir = .
serial = serial
default_md = sha256
policy = anything
unique_subject = no
preserve = yes
[anything]
commonName = optional
organizationName = optional
organizationalUnitName = optional
[req]
distinguished_name = name
[name]
)";

}  // namespace

std::vector<std::uint8_t> makeCertificate(const std::string& subject, const std::string& endDate) {
  const ScratchDirectory scratch;
  const std::filesystem::path directory = scratch.path();
  std::ofstream(directory / "ca.cnf") << kAuthorityConfiguration;
  const std::string script =
      "cd '" + directory.string() + "' && : > index.txt && echo 1000 > serial && "
      "openssl req -new -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout key.pem -out req.pem "
      "-config ca.cnf -subj '" + subject + "' && "
      "openssl ca -batch -config ca.cnf -selfsign -keyfile key.pem -in req.pem -out cert.pem -notext "
      "-startdate 20240101000000Z -enddate " + endDate + " && "
      "openssl x509 -in cert.pem -outform DER -out cert.der";
  const std::string quiet = "(" + script + ") >/dev/null 2>&1";
  EXPECT_EQ(std::system(quiet.c_str()), 0) << script;
  std::ifstream der(directory / "cert.der", std::ios::binary);
  return {std::istreambuf_iterator<char>(der), std::istreambuf_iterator<char>()};
}

std::string base64Of(const std::vector<std::uint8_t>& bytes) {
  g_autofree gchar* text = g_base64_encode(bytes.data(), bytes.size());
  return text;
}

}  // namespace quillon::testing
