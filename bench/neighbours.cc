// How long a client waits for a cheap call ("assembly::getExecutingAssemblyPath")
// while another client keeps the built host busy: one scene a neighbour, each
// on a host of its own (in a bundle of its own; headless, but for the scenes
// of the main window). The measuring client calls once a millisecond for a few
// seconds, as an interface does, and the 50th and 99th percentiles and the
// longest wait are printed; a neighbour whose own calls matter (the hung tool,
// the bursts) says how they were answered.
//
//   scripts/build plain && scripts/with-desktop build/bench/neighbours_bench [SECONDS [PART]]
//
// runs each scene (whose name holds PART) for SECONDS, 4 by default.
//
// The hung tool's scene makes a mount namespace, which needs root; without it
// that scene is skipped, as are the main window's scenes without a display. A
// scene is a row of scenes(): how its host starts and what its neighbour does
// until it is dropped.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "channel/channel_names.h"
#include "tests/support/host_process.h"
#include "tests/support/pipelined_client.h"
#include "tools/link_client.h"

extern char** environ;

namespace quillon {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testing::HostProcess;

const MethodCall kCheapCall{"assembly::getExecutingAssemblyPath", {}};

// What another client does to the host while the cheap calls are measured.
class Neighbour {
 public:
  virtual ~Neighbour() = default;
  // Once the measuring is done: what became of the neighbour's own calls, if that matters.
  virtual std::string report() { return ""; }
};

// A thread that runs `step` until the neighbour is dropped.
class LoopingNeighbour : public Neighbour {
 public:
  explicit LoopingNeighbour(std::function<void()> step)
      : thread_([this, step = std::move(step)] {
          while (!stop_) step();
        }) {}
  ~LoopingNeighbour() override {
    stop_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

// A client that calls `method` over and over, each call answered before the next.
std::unique_ptr<Neighbour> looping(const HostProcess& host, std::string method) {
  auto client = LinkClient::connect(host.socketPath());
  if (!client.hasValue()) return nullptr;
  return std::make_unique<LoopingNeighbour>([client = std::shared_ptr(*std::move(client)), method] {
    (void)client->call(kNativeCommandChannel, MethodCall{method, {}}, 60s);
  });
}

// A client that sends `count` cheap calls in one write, reads their answers,
// and again; its report is how long a burst took to be answered whole.
class BurstsNeighbour final : public Neighbour {
 public:
  BurstsNeighbour(std::unique_ptr<testing::PipelinedClient> client, std::uint32_t count)
      : client_(std::move(client)), count_(count), loop_(std::in_place, [this] { burst(); }) {}

  std::string report() override {
    loop_.reset();
    if (milliseconds_.empty()) return "no burst was answered whole";
    std::sort(milliseconds_.begin(), milliseconds_.end());
    char line[160];
    std::snprintf(line, sizeof line, "%zu bursts answered whole, in %.0f ms (median; %.0f-%.0f)", milliseconds_.size(),
                  milliseconds_[milliseconds_.size() / 2], milliseconds_.front(), milliseconds_.back());
    return line;
  }

 private:
  void burst() {
    std::vector<std::pair<std::uint32_t, MethodCall>> calls;
    for (std::uint32_t id = 1; id <= count_; ++id) calls.emplace_back(id, kCheapCall);
    const auto begin = Clock::now();
    if (!client_->send(calls)) return;
    for (std::uint32_t answered = 0; answered < count_; ++answered) {
      if (!client_->nextAnswer(60s)) return;
    }
    milliseconds_.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
  }

  std::unique_ptr<testing::PipelinedClient> client_;
  std::uint32_t count_;
  std::vector<double> milliseconds_;
  std::optional<LoopingNeighbour> loop_;  // last: stopped before the rest goes
};

std::unique_ptr<Neighbour> bursts(const HostProcess& host, std::uint32_t count) {
  auto client = testing::PipelinedClient::connect(host.socketPath());
  if (!client) return nullptr;
  return std::make_unique<BurstsNeighbour>(std::move(client), count);
}

// The interface takes the main window over at once, shown or hidden, and stays
// connected while another neighbour works: with the window shown, the list of
// latest calls shows that neighbour's calls.
class MainWindowNeighbour final : public Neighbour {
 public:
  MainWindowNeighbour(std::unique_ptr<LinkClient> interface, std::unique_ptr<Neighbour> busy)
      : interface_(std::move(interface)), busy_(std::move(busy)) {}
  std::string report() override { return busy_ ? busy_->report() : "the neighbour did not connect"; }

 private:
  std::unique_ptr<LinkClient> interface_;
  std::unique_ptr<Neighbour> busy_;
};

std::unique_ptr<Neighbour> burstsBesideTheMainWindow(const HostProcess& host, bool shown, std::uint32_t count) {
  auto interface = LinkClient::connect(host.socketPath());
  if (!interface.hasValue()) return nullptr;
  const auto answer = (*interface)->call("bitsdojo/window", MethodCall{shown ? "showWindow" : "hideWindow", {}}, 20s);
  if (!answer.hasValue() || !answer->isSuccess()) return nullptr;
  std::this_thread::sleep_for(1s);  // mapped and drawn (or left alone) before the bursts
  return std::make_unique<MainWindowNeighbour>(*std::move(interface), bursts(host, count));
}

// Sleeping processes of the benchmark's own, for a larger process table.
class ExtraProcesses {
 public:
  explicit ExtraProcesses(int count) {
    char sleep[] = "/bin/sleep";
    char seconds[] = "3600";
    char* argv[] = {sleep, seconds, nullptr};
    for (int started = 0; started < count; ++started) {
      pid_t pid = 0;
      if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv, environ) == 0) pids_.push_back(pid);
    }
  }
  ~ExtraProcesses() {
    for (const pid_t pid : pids_) ::kill(pid, SIGKILL);
    for (const pid_t pid : pids_) ::waitpid(pid, nullptr, 0);
  }

 private:
  std::vector<pid_t> pids_;
};

// A client looping getProcessIdList over 3,000 more processes than the machine has.
class ProcessTableNeighbour final : public Neighbour {
 public:
  explicit ProcessTableNeighbour(const HostProcess& host)
      : extra_(3000), loop_(looping(host, "process::getProcessIdList")) {}

 private:
  ExtraProcesses extra_;
  std::unique_ptr<Neighbour> loop_;
};

// One getProcessIdList on a host whose ps hangs; the scene starts once the
// hung ps runs, and the report says when and with what the call was answered.
class HungToolNeighbour final : public Neighbour {
 public:
  explicit HungToolNeighbour(const HostProcess& host) : hungFile_(host.directory() + "/hung") {
    client_ = testing::PipelinedClient::connect(host.socketPath());
    sent_ = Clock::now();
    if (client_) client_->send({{1, MethodCall{"process::getProcessIdList", {}}}});
    while (!std::filesystem::exists(hungFile_) && Clock::now() - sent_ < 10s) std::this_thread::sleep_for(5ms);
  }

  std::string report() override {
    const auto answer = client_ ? client_->nextAnswer(60s) : std::nullopt;
    if (!answer) return "the hung call was not answered";
    const double seconds = std::chrono::duration<double>(Clock::now() - sent_).count();
    char line[160];
    std::snprintf(line, sizeof line, "the hung getProcessIdList answered %s after %.2f s",
                  describe(answer->second.isSuccess() ? answer->second.value() : ChannelValue("an error")).c_str(),
                  seconds);
    return line;
  }

 private:
  std::string hungFile_;
  std::unique_ptr<testing::PipelinedClient> client_;
  Clock::time_point sent_;
};

struct Scene {
  const char* name;
  HostProcess::Layout layout;
  // Writes what the host needs into its directory before it starts.
  std::function<void(const HostProcess& host)> prepare;
  std::function<std::unique_ptr<Neighbour>(const HostProcess& host)> neighbour;
  bool needsRoot = false;
};

std::vector<Scene> scenes() {
  const HostProcess::Layout headless{.headless = true};
  const HostProcess::Layout onDesktop{};
  // ps replaced, in the host's own mount namespace, by a script that hangs with a child of its own.
  const HostProcess::Layout hangingPs{
      .headless = true,
      .launcher = {"/usr/bin/unshare", "--mount", "--propagation", "private", "/bin/sh", "-ec",
                   "mount --bind \"$(dirname \"$0\")/../hanging-ps\" /bin/ps\nexec \"$0\""}};
  const auto writeHangingPs = [](const HostProcess& host) {
    const std::string script = host.directory() + "/hanging-ps";
    std::ofstream(script) << "#!/bin/sh\nsleep 600 &\necho $$ >" << host.directory() << "/hung\nwait\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  };
  return {
      {"idle", headless, nullptr, [](const HostProcess&) { return std::make_unique<Neighbour>(); }},
      {"beside getProcessIdList in a loop, 3,000 more processes", headless, nullptr,
       [](const HostProcess& host) { return std::make_unique<ProcessTableNeighbour>(host); }},
      {"beside a ps that hangs", hangingPs, writeHangingPs,
       [](const HostProcess& host) { return std::make_unique<HungToolNeighbour>(host); }, true},
      {"beside bursts of 2,000 calls", headless, nullptr,
       [](const HostProcess& host) { return bursts(host, 2000); }},
      {"beside bursts of 20,000 calls, main window hidden", onDesktop, nullptr,
       [](const HostProcess& host) { return burstsBesideTheMainWindow(host, false, 20000); }},
      {"beside bursts of 20,000 calls, main window shown", onDesktop, nullptr,
       [](const HostProcess& host) { return burstsBesideTheMainWindow(host, true, 20000); }},
  };
}

struct Figures {
  std::size_t calls = 0;
  double p50 = 0, p99 = 0, longest = 0;  // microseconds
};

// One cheap call a millisecond for `duration`.
Figures measure(const HostProcess& host, std::chrono::milliseconds duration) {
  auto client = LinkClient::connect(host.socketPath());
  if (!client.hasValue()) return {};
  std::vector<double> waits;
  const auto end = Clock::now() + duration;
  for (auto next = Clock::now(); next < end; next += 1ms) {
    std::this_thread::sleep_until(next);
    const auto begin = Clock::now();
    const auto reply = (*client)->call(kNativeCommandChannel, kCheapCall, 60s);
    if (!reply.hasValue() || !reply->isSuccess()) break;
    waits.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    next = std::max(next, Clock::now() - 1ms);  // a late answer does not bring a flood of calls
  }
  if (waits.empty()) return {};
  std::sort(waits.begin(), waits.end());
  const auto at = [&](double share) {
    return waits[static_cast<std::size_t>(share * static_cast<double>(waits.size() - 1))];
  };
  return {waits.size(), at(0.50), at(0.99), waits.back()};
}

void run(const Scene& scene, std::chrono::milliseconds duration) {
  if (scene.needsRoot && ::geteuid() != 0) {
    std::printf("%-58s skipped: needs root for its mount namespace\n", scene.name);
    return;
  }
  if (!scene.layout.headless && std::getenv("DISPLAY") == nullptr) {
    std::printf("%-58s skipped: needs a display (scripts/with-desktop)\n", scene.name);
    return;
  }
  HostProcess host(scene.layout);
  if (scene.prepare) scene.prepare(host);
  host.start();
  if (!host.waitReady()) {
    std::printf("%-58s the host did not start: %s\n", scene.name, host.errorOutput().c_str());
    return;
  }
  std::string report;
  Figures figures;
  {
    auto neighbour = scene.neighbour(host);
    figures = measure(host, duration);
    if (neighbour) report = neighbour->report();
  }
  std::printf("%-58s %7zu %9.0f %9.0f %9.0f  %s\n", scene.name, figures.calls, figures.p50, figures.p99,
              figures.longest, report.c_str());
  std::fflush(stdout);
  host.stop();
}

}  // namespace
}  // namespace quillon

int main(int argc, char** argv) {
  const auto duration = std::chrono::milliseconds(static_cast<long>(1000 * (argc > 1 ? std::atof(argv[1]) : 4.0)));
  const std::string_view only = argc > 2 ? argv[2] : "";
  std::printf("%-58s %7s %9s %9s %9s\n", "the cheap call of a second client", "calls", "p50 µs", "p99 µs", "max µs");
  for (const quillon::Scene& scene : quillon::scenes()) {
    if (std::string_view(scene.name).find(only) != std::string_view::npos) quillon::run(scene, duration);
  }
  return 0;
}
