// getWindowRect over a desktop of 200 windows: once through the whole path (the
// X11 window list read over a fresh connection, then the walk), once through the
// walk alone over a list of the same size. Needs an X display with a window
// manager: run it under scripts/with-desktop.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/desktop/x11_window_list.h"
#include "window/application_window.h"

extern char** environ;

namespace quillon {
namespace {

constexpr int kWindows = 200;

class NoDiagnostics final : public Diagnostics {
 public:
  void printLine(std::string_view) override {}
};

// Only the window list is reached by getWindowRect; the rest is never called.
class Unused final : public HostWindows, public Screens, public TextMeasurer, public AlertWindowFactory,
                     public MainQueue {
 public:
  std::vector<std::unique_ptr<HostWindow>> windows() override { return {}; }
  std::unique_ptr<HostWindow> keyWindow() override { return nullptr; }
  std::optional<ScreenFrames> mainScreen() override { return std::nullopt; }
  double heightOf(std::string_view, double, const SystemFont&) override { return 0.0; }
  std::unique_ptr<AlertWindow> create(const AlertWindowStyle&) override { return nullptr; }
  void post(Job) override {}
  void postAfter(std::chrono::seconds, Job) override {}
};

class FixedWindowList final : public WindowList {
 public:
  explicit FixedWindowList(std::vector<WindowListEntry> entries) : entries_(std::move(entries)) {}
  std::optional<std::vector<WindowListEntry>> onScreenWindows() override { return entries_; }

 private:
  std::vector<WindowListEntry> entries_;
};

pid_t clientPid = 0;

std::int64_t countWindowsOf(WindowList& list, pid_t pid) {
  std::int64_t count = 0;
  for (const auto& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
    if (entry.ownerProcessId == pid) ++count;
  }
  return count;
}

// The client owns all 200 windows; the whole list is read before the walk picks
// the front-most.
void BM_GetWindowRectOverX11(benchmark::State& state) {
  X11WindowList list;
  NoDiagnostics diagnostics;
  Unused unused;
  const WindowServices services{list, unused, unused, unused, unused, unused, diagnostics};
  for (auto _ : state) benchmark::DoNotOptimize(ApplicationWindow::getWindowRect(services, clientPid));
  state.counters["windows"] = static_cast<double>(countWindowsOf(list, clientPid));
}
BENCHMARK(BM_GetWindowRectOverX11)->Unit(benchmark::kMillisecond);

void BM_GetWindowRectWalkOnly(benchmark::State& state) {
  std::vector<WindowListEntry> entries(kWindows, WindowListEntry{1, "other", WindowBounds{1, 2, 3, 4}});
  entries.back().ownerProcessId = 2;
  FixedWindowList list(std::move(entries));
  NoDiagnostics diagnostics;
  Unused unused;
  const WindowServices services{list, unused, unused, unused, unused, unused, diagnostics};
  for (auto _ : state) benchmark::DoNotOptimize(ApplicationWindow::getWindowRect(services, 2));
}
BENCHMARK(BM_GetWindowRectWalkOnly)->Unit(benchmark::kMicrosecond);

pid_t startClient() {
  std::vector<std::string> arguments{X11_TEST_CLIENT};
  for (int index = 0; index < kWindows; ++index) {
    arguments.push_back("Bench window " + std::to_string(index));
    arguments.push_back("160x120+" + std::to_string(20 * (index % 50)) + "+" + std::to_string(40 * (index / 50)));
  }
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  return posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) == 0 ? pid : 0;
}

}  // namespace
}  // namespace quillon

int main(int argc, char** argv) {
  if (std::getenv("DISPLAY") == nullptr) {
    std::fprintf(stderr, "window_bench needs an X display: run it under scripts/with-desktop\n");
    return 1;
  }
  // The list reads the scale that GDK found when it opened the display.
  if (!quillon::gtkDesktopAvailable()) return 1;
  quillon::clientPid = quillon::startClient();
  if (quillon::clientPid == 0) return 1;
  quillon::X11WindowList list;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (quillon::countWindowsOf(list, quillon::clientPid) < quillon::kWindows &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  kill(quillon::clientPid, SIGTERM);
  int status = 0;
  waitpid(quillon::clientPid, &status, 0);
  return 0;
}
