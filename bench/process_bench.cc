// getProcessIdList against the process-listing tool alone, side by side in one
// run: the baseline spawns "/bin/ps -e -o pid" and reads its output with the
// bare system calls and nothing else; the other cases add, step by step, the
// host's tool runner and then the whole operation (UTF-8 check, line split,
// trimming and number parsing).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/linux/desktop/x11_window_list.h"
#include "platform/linux/process/pidfd_process_ends.h"
#include "platform/linux/process/posix_tool_runner.h"
#include "platform/linux/process/proc_main_window_handles.h"
#include "platform/linux/process/proc_running_applications.h"
#include "platform/linux/system/stdout_diagnostics.h"
#include "process/process_id_list.h"
#include "process/process_manager.h"

extern char** environ;

namespace quillon {
namespace {

// The tool alone: spawn, read to the end, reap. No checks beyond what the
// calls themselves need, so anything above it is the host's own cost.
std::size_t runPsAlone() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return 0;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  std::array<std::string, 4> arguments{"/bin/ps", "-e", "-o", "pid"};
  std::array<char*, 5> argv{arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(),
                            nullptr};
  pid_t child = 0;
  const int error = ::posix_spawn(&child, "/bin/ps", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  std::size_t total = 0;
  std::array<char, 65536> buffer;
  for (ssize_t count; (count = ::read(ends[0], buffer.data(), buffer.size())) != 0;) {
    if (count < 0 && errno != EINTR) break;
    if (count > 0) total += static_cast<std::size_t>(count);
  }
  ::close(ends[0]);
  if (error == 0) ::waitpid(child, nullptr, 0);
  return total;
}

void BM_PsAlone(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(runPsAlone());
}

void BM_PsThroughToolRunner(benchmark::State& state) {
  PosixToolRunner tools;
  for (auto _ : state) {
    benchmark::DoNotOptimize(tools.run("/bin/ps", {"-e", "-o", "pid"}, ToolRunner::Streams::kOutput,
                                       ProcessManager::kPsTimeLimit));
  }
}

void BM_GetProcessIdList(benchmark::State& state) {
  PosixToolRunner tools;
  ProcRunningApplications applications;
  ProcMainWindowHandles handles;
  X11WindowList windows;
  StdoutDiagnostics diagnostics;
  PidfdProcessEnds ends;
  ProcessManager manager(ProcessEnvironment{tools, applications, handles, windows, diagnostics, ends});
  std::size_t ids = 0;
  for (auto _ : state) {
    const auto list = manager.getProcessIdList();
    ids = list.size();
    benchmark::DoNotOptimize(list.data());
  }
  state.counters["processes"] = static_cast<double>(ids);
}

// The parsing alone, on the output of this machine's process table.
void BM_ParseProcessIdList(benchmark::State& state) {
  const auto run = PosixToolRunner().run("/bin/ps", {"-e", "-o", "pid"}, ToolRunner::Streams::kOutput,
                                         ProcessManager::kPsTimeLimit);
  const std::string output = run.hasValue() ? std::string(run->output.begin(), run->output.end()) : std::string();
  for (auto _ : state) benchmark::DoNotOptimize(parseProcessIdList(output));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(output.size()));
}

BENCHMARK(BM_PsAlone)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PsThroughToolRunner)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_GetProcessIdList)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ParseProcessIdList)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
