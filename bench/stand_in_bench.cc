// What the main window's list of latest calls costs the serving: the built
// host on the desktop serves a burst of 20,000 calls from one client, one
// after the other, with its window shown (the list refreshing as it does) and
// hidden (the list untouched). Each iteration is one burst; the
// counters are the latencies of its calls and the processor time the host
// spent. Run under scripts/with-desktop.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "channel/channel_names.h"
#include "tests/support/host_process.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kBurst = 20'000;

double microseconds(Clock::duration duration) { return std::chrono::duration<double, std::micro>(duration).count(); }

// The processor time the process has used, user and system, in milliseconds
// (fields 14 and 15 of /proc/<pid>/stat, in clock ticks); 0 when unreadable.
double processorMilliseconds(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string stat((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const std::size_t end = stat.rfind(')');  // the command's name may hold anything
  if (end == std::string::npos) return 0;
  std::istringstream fields(stat.substr(end + 1));
  std::string field;
  double ticks = 0;
  for (int index = 3; index <= 15 && fields >> field; ++index) {
    if (index >= 14) ticks += std::strtod(field.c_str(), nullptr);
  }
  return ticks * 1000.0 / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

bool answered(LinkClient& client, const char* channel, const char* method) {
  const auto reply = client.call(channel, MethodCall{method, {}}, 20s);
  return reply && reply->isSuccess();
}

void burstOfCalls(benchmark::State& state, bool windowShown) {
  if (std::getenv("DISPLAY") == nullptr) {
    state.SkipWithError("DISPLAY is not set: run under scripts/with-desktop");
    return;
  }
  testing::HostProcess host({});
  host.start();
  if (!host.waitReady()) return state.SkipWithError("the host did not start");
  auto connected = LinkClient::connect(host.socketPath());
  if (!connected) return state.SkipWithError(connected.error().reason.c_str());
  LinkClient& client = **connected;
  // The interface takes the window over at once, so it stays as asked.
  if (!answered(client, "bitsdojo/window", windowShown ? "showWindow" : "hideWindow")) {
    return state.SkipWithError("the window plug-in did not answer");
  }
  // Warmed up, the window shown and drawn (or left hidden) before the burst.
  for (int call = 0; call < 1000; ++call) answered(client, kNativeCommandChannel, "process::getCurrentProcessId");
  std::this_thread::sleep_for(1s);
  std::vector<double> latencies;
  latencies.reserve(kBurst);
  const double processorBefore = processorMilliseconds(host.pid());
  for (auto _ : state) {
    latencies.clear();
    for (int call = 0; call < kBurst; ++call) {
      const auto started = Clock::now();
      if (!answered(client, kNativeCommandChannel, "process::getCurrentProcessId")) {
        return state.SkipWithError("a call was not answered");
      }
      latencies.push_back(microseconds(Clock::now() - started));
    }
  }
  // What the host spent on the burst, and on showing it within the next refresh.
  std::this_thread::sleep_for(300ms);
  state.counters["host_cpu_ms"] = processorMilliseconds(host.pid()) - processorBefore;
  std::sort(latencies.begin(), latencies.end());
  state.counters["p50_us"] = latencies[latencies.size() / 2];
  state.counters["p99_us"] = latencies[latencies.size() * 99 / 100];
  state.counters["max_us"] = latencies.back();
  host.stop();
}

BENCHMARK_CAPTURE(burstOfCalls, window_hidden, false)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(burstOfCalls, window_shown, true)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
