// The built host from its start to the first answered call
// ("assembly::getExecutingAssemblyPath"), and its memory at rest (resident set
// size once that call is answered and the host waits for the next event).
// Run without a display, and on a display when DISPLAY is set (GTK connected,
// main window created hidden).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "channel/channel_names.h"
#include "tests/support/host_process.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

// VmRSS of /proc/<pid>/status, in kilobytes; 0 when unreadable.
double residentKilobytes(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::strtod(line.c_str() + 6, nullptr);
  }
  return 0;
}

// Connects as soon as the socket accepts, then makes the first call.
bool firstAnsweredCall(const testing::HostProcess& host) {
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (std::chrono::steady_clock::now() < deadline) {
    if (auto client = LinkClient::connect(host.socketPath()); client.hasValue()) {
      const auto reply =
          (*client)->call(kNativeCommandChannel, MethodCall{"assembly::getExecutingAssemblyPath", {}}, 20s);
      return reply.hasValue() && reply->isSuccess();
    }
    std::this_thread::sleep_for(1ms);
  }
  return false;
}

void startUpToFirstAnsweredCall(benchmark::State& state, bool headless) {
  if (!headless && std::getenv("DISPLAY") == nullptr) {
    state.SkipWithError("DISPLAY is not set: run under scripts/with-desktop");
    return;
  }
  double rss = 0;
  for (auto _ : state) {
    state.PauseTiming();
    testing::HostProcess host({.headless = headless});
    state.ResumeTiming();
    const auto started = std::chrono::steady_clock::now();
    host.start();
    const bool answered = firstAnsweredCall(host);
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
    state.PauseTiming();
    if (!answered) state.SkipWithError("the host did not answer");
    rss = residentKilobytes(host.pid());
    host.stop();
    state.ResumeTiming();
  }
  state.counters["rss_kB"] = rss;
}

BENCHMARK_CAPTURE(startUpToFirstAnsweredCall, headless, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(startUpToFirstAnsweredCall, desktop, false)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
