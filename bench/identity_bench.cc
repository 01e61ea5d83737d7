// The certificate check against the openssl run it contains, side by side: a
// check of a stored certificate may cost at most 10 % more than the run alone.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "identity/ssl_functions.h"
#include "platform/linux/identity/glib_uuid_generator.h"
#include "platform/linux/identity/icu_date_parser.h"
#include "platform/linux/identity/linux_hardware_identity.h"
#include "platform/linux/identity/linux_temporary_directory.h"
#include "platform/linux/identity/nss_keychain.h"
#include "platform/linux/identity/sysfs_network_interfaces.h"
#include "platform/linux/process/posix_tool_runner.h"
#include "platform/linux/system/stdout_diagnostics.h"
#include "platform/linux/system/system_clock.h"

namespace quillon {
namespace {

constexpr const char* kLabel = "Quillon Bench";

// A scratch directory holding an NSS database with one stored certificate; the
// temporary files of the checks land there too.
class StoredCertificate {
 public:
  StoredCertificate() {
    g_autofree gchar* made = g_dir_make_tmp("quillon-identity-bench-XXXXXX", nullptr);
    if (!made) throw std::runtime_error("no scratch directory");
    directory_ = made;
    const std::string command = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 30 "
                                "-subj '/CN=" + std::string(kLabel) + "' -keyout '" + directory_ + "/key.pem' "
                                "-outform DER -out '" + directory_ + "/cert.der' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("openssl could not make a certificate");
    std::ifstream file(derPath(), std::ios::binary);
    der_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    keychain_ = std::make_unique<NssKeychain>(directory_ + "/nssdb");
    auto certificate = keychain_->makeCertificate(der_);
    if (!certificate ||
        !keychain_->add(AddRequest{ItemClass::kCertificate, *std::move(certificate)}).hasValue()) {
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
    auto parsed = dates.parse(SSLFunctions::kEndDatePattern, SSLFunctions::kEndDateLocale, "Jan  2 00:00:00 2030 GMT");
    benchmark::DoNotOptimize(parsed);
  }
}
BENCHMARK(BM_EndDateParse)->Unit(benchmark::kMillisecond)->UseRealTime();

// The platform of the checks, with their temporary files in the scratch directory.
class CheckPlatform {
 public:
  explicit CheckPlatform(StoredCertificate& stored) : stored_(stored) {
    ::setenv("TMPDIR", stored.directory().c_str(), 1);
  }

  const IdentityServices& services() const { return services_; }
  Instant yesterday() { return clock_.now() - std::chrono::hours(24); }

  // The openssl run that every check contains, on a file written beforehand.
  Expected<ToolRun> runOpensslAlone() {
    return tools_.run(SSLFunctions::kOpensslPath, {"x509", "-in", stored_.derPath(), "-noout", "-enddate"},
                      ToolRunner::Streams::kOutputAndError, SSLFunctions::kOpensslTimeLimit);
  }

 private:
  StoredCertificate& stored_;
  LinuxTemporaryDirectory temporaryDirectory_;
  GlibUuidGenerator uuids_;
  PosixToolRunner tools_;
  IcuDateParser dates_;
  SystemClock clock_;
  SysfsNetworkInterfaces interfaces_;
  LinuxHardwareIdentity hardware_;
  StdoutDiagnostics diagnostics_;
  const IdentityServices services_{stored_.keychain(), temporaryDirectory_, uuids_,    tools_,      dates_,
                                   clock_,             interfaces_,         hardware_, diagnostics_};
};

// The end-of-validity reading alone (file, openssl run, parse), without the
// keychain lookup in front of it.
void BM_EndOfValidityReading(benchmark::State& state) {
  StoredCertificate stored;
  CheckPlatform platform(stored);
  const auto found = stored.keychain().copyMatching(SearchRequest{ItemClass::kCertificate, kLabel});
  for (auto _ : state) {
    benchmark::DoNotOptimize(SSLFunctions::getCertificateExpirationDate(platform.services(), *found));
  }
}
BENCHMARK(BM_EndOfValidityReading)->Unit(benchmark::kMillisecond)->UseRealTime();

// The whole check of a stored certificate (lookup, file, openssl run, parse)
// side by side with the openssl run alone: each iteration runs both, taking
// turns at going first, so that both meet the same machine. The time reported
// is the check's; the counters give the run alone and the check's cost over it.
void BM_IsCertificateAvailableBesideOpensslAlone(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  StoredCertificate stored;
  CheckPlatform platform(stored);
  const Instant yesterday = platform.yesterday();
  const auto timed = [](const auto& work) {
    const Clock::time_point start = Clock::now();
    work();
    return Clock::now() - start;
  };
  const auto check = [&] {
    if (!SSLFunctions::isCertificateAvailable(platform.services(), kLabel, yesterday)) {
      state.SkipWithError("the stored certificate was not available");
    }
  };
  const auto alone = [&] { benchmark::DoNotOptimize(platform.runOpensslAlone()); };
  Clock::duration checkTotal{};
  Clock::duration aloneTotal{};
  bool checkFirst = false;
  for (auto _ : state) {
    const Clock::duration first = checkFirst ? timed(check) : timed(alone);
    const Clock::duration second = checkFirst ? timed(alone) : timed(check);
    const Clock::duration checkTime = checkFirst ? first : second;
    checkTotal += checkTime;
    aloneTotal += checkFirst ? second : first;
    checkFirst = !checkFirst;
    state.SetIterationTime(std::chrono::duration<double>(checkTime).count());
  }
  const double iterations = static_cast<double>(state.iterations());
  const double aloneMs = std::chrono::duration<double, std::milli>(aloneTotal).count() / iterations;
  const double checkMs = std::chrono::duration<double, std::milli>(checkTotal).count() / iterations;
  state.counters["openssl_alone_ms"] = aloneMs;
  state.counters["over_alone_pct"] = 100.0 * (checkMs - aloneMs) / aloneMs;
}
BENCHMARK(BM_IsCertificateAvailableBesideOpensslAlone)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
