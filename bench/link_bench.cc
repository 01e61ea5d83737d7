// One round trip over the interface link: "assembly::getExecutingAssemblyPath"
// sent by a client, routed by the host's dispatcher and answered. The host runs
// in this process, on a thread of its own that turns the GLib default main
// context, exactly as the host's main thread does.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>

#include "app/host_services.h"
#include "app/native_command_channel.h"
#include "base/c_owner.h"
#include "channel/channel_names.h"
#include "embedding/engine.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

class BackgroundHost {
 public:
  explicit BackgroundHost(std::string socketPath) : loop_(g_main_loop_new(nullptr, FALSE)) {
    std::promise<void> ready;
    auto started = ready.get_future();
    thread_ = std::thread([this, socketPath, &ready] {
      Engine engine(socketPath);
      if (const auto served = engine.start(); !served.hasValue()) {
        std::fprintf(stderr, "link_bench: %s\n", served.error().reason.c_str());
        std::abort();
      }
      HostServices services;
      const NativeCommandChannel commands(engine.binaryMessenger(), services.commandServices({}));
      ready.set_value();
      g_main_loop_run(loop_.get());
    });
    started.wait();
  }
  ~BackgroundHost() {
    g_main_loop_quit(loop_.get());
    thread_.join();
  }

 private:
  COwner<GMainLoop, g_main_loop_unref> loop_;
  std::thread thread_;
};

void BM_LinkRoundTrip(benchmark::State& state) {
  const std::string directory = "/tmp/quillon-bench-" + std::to_string(::getpid());
  {
    BackgroundHost host(directory + "/interface.sock");
    const auto connected = LinkClient::connect(directory + "/interface.sock");
    if (!connected.hasValue()) {
      state.SkipWithError(connected.error().reason.c_str());
      return;
    }
    LinkClient& client = **connected;
    const MethodCall call{"assembly::getExecutingAssemblyPath", {}};
    std::vector<double> micros;
    micros.reserve(1 << 20);
    for (auto _ : state) {
      const auto begin = std::chrono::steady_clock::now();
      auto reply = client.call(kNativeCommandChannel, call, LinkClient::kForever);
      const auto end = std::chrono::steady_clock::now();
      if (!reply.hasValue() || !reply->isSuccess()) {
        state.SkipWithError("the host did not answer");
        break;
      }
      benchmark::DoNotOptimize(reply);
      micros.push_back(std::chrono::duration<double, std::micro>(end - begin).count());
    }
    if (!micros.empty()) {
      std::sort(micros.begin(), micros.end());
      state.counters["median_us"] = micros[micros.size() / 2];
      state.counters["p99_us"] = micros[micros.size() * 99 / 100];
    }
  }
  std::filesystem::remove_all(directory);
}
BENCHMARK(BM_LinkRoundTrip)->MinTime(2.0)->UseRealTime();

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
