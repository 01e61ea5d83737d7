// The certificate check against the openssl run it contains, side by side: a
// check of a stored certificate may cost at most 10 % more than the run alone.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "identity/ssl_functions.h"
#include "platform/linux/glib_uuid_generator.h"
#include "platform/linux/icu_date_parser.h"
#include "platform/linux/linux_hardware_identity.h"
#include "platform/linux/linux_temporary_directory.h"
#include "platform/linux/nss_keychain.h"
#include "platform/linux/posix_tool_runner.h"
#include "platform/linux/stdout_diagnostics.h"
#include "platform/linux/sysfs_network_interfaces.h"
#include "platform/linux/system_clock.h"

namespace quillon {
namespace {

constexpr const char* kLabel = "Quillon Bench";

// A scratch directory holding an NSS database with one stored certificate; the
// temporary files of the checks land there too.
class StoredCertificate {
 public:
  StoredCertificate() {
    gchar* made = g_dir_make_tmp("quillon-identity-bench-XXXXXX", nullptr);
    if (!made) throw std::runtime_error("no scratch directory");
    directory_ = made;
    g_free(made);
    const std::string command = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 30 "
                                "-subj '/CN=" + std::string(kLabel) + "' -keyout '" + directory_ + "/key.pem' "
                                "-outform DER -out '" + directory_ + "/cert.der' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("openssl could not make a certificate");
    std::ifstream file(derPath(), std::ios::binary);
    der_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    keychain_ = std::make_unique<NssKeychain>(directory_ + "/nssdb");
    auto certificate = keychain_->makeCertificate(der_);
    if (!certificate || keychain_->add(AddRequest{ItemClass::kCertificate, *std::move(certificate)}) !=
                            KeychainStatus::kSuccess) {
      throw std::runtime_error("the certificate could not be stored");
    }
  }
  StoredCertificate(const StoredCertificate&) = delete;
  StoredCertificate& operator=(const StoredCertificate&) = delete;
  ~StoredCertificate() { std::filesystem::remove_all(directory_); }

  const std::string& directory() const { return directory_; }
  std::string derPath() const { return directory_ + "/cert.der"; }
  NssKeychain& keychain() { return *keychain_; }

 private:
  std::string directory_;
  std::vector<std::uint8_t> der_;
  std::unique_ptr<NssKeychain> keychain_;
};

void BM_KeychainLookup(benchmark::State& state) {
  StoredCertificate stored;
  for (auto _ : state) {
    auto found = stored.keychain().copyMatching(SearchRequest{ItemClass::kCertificate, kLabel});
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(BM_KeychainLookup)->Unit(benchmark::kMillisecond)->UseRealTime();

// The reading of openssl's answer: a date formatter made for the call, as
// nothing is kept between checks.
void BM_EndDateParse(benchmark::State& state) {
  IcuDateParser dates;
  for (auto _ : state) {
    auto parsed = dates.parse(SSLFunctions::kEndDatePattern, "Jan  2 00:00:00 2030 GMT");
    benchmark::DoNotOptimize(parsed);
  }
}
BENCHMARK(BM_EndDateParse)->Unit(benchmark::kMillisecond)->UseRealTime();

// The openssl run that every check contains, on a file written beforehand.
void BM_OpensslAlone(benchmark::State& state) {
  StoredCertificate stored;
  PosixToolRunner tools;
  for (auto _ : state) {
    ToolRun run = tools.run(SSLFunctions::kOpensslPath, {"x509", "-in", stored.derPath(), "-noout", "-enddate"},
                            ToolRunner::Streams::kOutputAndError);
    benchmark::DoNotOptimize(run);
  }
}
BENCHMARK(BM_OpensslAlone)->Unit(benchmark::kMillisecond)->UseRealTime();

// The whole check of a stored certificate: lookup, file, openssl run, parse.
void BM_IsCertificateAvailable(benchmark::State& state) {
  StoredCertificate stored;
  ::setenv("TMPDIR", stored.directory().c_str(), 1);
  NssKeychain& keychain = stored.keychain();
  LinuxTemporaryDirectory temporaryDirectory;
  GlibUuidGenerator uuids;
  PosixToolRunner tools;
  IcuDateParser dates;
  SystemClock clock;
  SysfsNetworkInterfaces interfaces;
  LinuxHardwareIdentity hardware;
  StdoutDiagnostics diagnostics;
  const IdentityServices services{keychain, temporaryDirectory, uuids,    tools,      dates,
                                  clock,    interfaces,         hardware, diagnostics};
  const Instant yesterday = clock.now() - std::chrono::hours(24);
  // Argument 1: the end-of-validity reading alone (file, openssl run, parse),
  // without the keychain lookup in front of it.
  if (state.range(0) == 1) {
    const auto found = keychain.copyMatching(SearchRequest{ItemClass::kCertificate, kLabel});
    for (auto _ : state) benchmark::DoNotOptimize(SSLFunctions::getCertificateExpirationDate(services, *found.certificate));
    return;
  }
  for (auto _ : state) {
    if (!SSLFunctions::isCertificateAvailable(services, kLabel, yesterday)) {
      state.SkipWithError("the stored certificate was not available");
      break;
    }
  }
}
BENCHMARK(BM_IsCertificateAvailable)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
