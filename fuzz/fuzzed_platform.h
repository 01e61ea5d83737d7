// FuzzedPlatform: every platform interface that the command catalogue and the
// shell reach, answering whatever the fuzzer's input says: outputs and names of
// any bytes (text or not), coordinates of any double, failures anywhere. The
// tools and the handle lookup also check what reaches them: an id that names
// no possible process must never get to ps, kill or the desktop's process
// list, so such a run ends the fuzzer at once.
//
// Contract: `input` is set before each use and outlives it; everything the
// platform answers is drawn from it, so a run is repeated exactly by its input.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <charconv>
#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/plugin_services.h"
#include "bundle/assembly_data.h"
#include "identity/identity_services.h"
#include "process/process_environment.h"
#include "process/process_id.h"
#include "window/window_services.h"

namespace quillon::fuzzing {

inline void check(bool condition) {
  if (!condition) std::abort();
}

// The input shared by every fake of one run.
struct FuzzInput {
  FuzzedDataProvider* provider = nullptr;

  FuzzedDataProvider& get() const { return *provider; }
  bool chance() const { return provider->ConsumeBool(); }
  // Any bytes: text, text with NUL, or not UTF-8 at all.
  std::string bytes(std::size_t most = 24) const { return provider->ConsumeRandomLengthString(most); }
  std::optional<std::string> maybeBytes() const { return chance() ? std::optional(bytes()) : std::nullopt; }
  double anyDouble() const { return provider->ConsumeFloatingPoint<double>(); }
  std::optional<double> maybeDouble() const { return chance() ? std::optional(anyDouble()) : std::nullopt; }
};

// Kills take effect at once here: there is nothing to wait for.
struct NoProcessEnds final : ProcessEnds {
  void waitForEnd(std::int64_t, std::chrono::milliseconds) override {}
};

class FuzzedToolRunner final : public ToolRunner {
 public:
  explicit FuzzedToolRunner(const FuzzInput& input) : input_(input) {}
  void endAllRuns() override {}

 protected:
  Expected<ToolRun> runTool(const std::string& executable, const std::vector<std::string>& arguments, Streams,
                            std::chrono::milliseconds, const EnvironmentChanges&) override {
    if (executable == "/bin/kill" || executable == "/bin/ps") checkProcessIds(arguments);
    if (!input_.chance()) return Failure{input_.bytes()};
    ToolRun run;
    const std::string output = input_.bytes(64);
    run.output.assign(output.begin(), output.end());
    run.waitStatus = input_.get().ConsumeIntegral<int>();
    return run;
  }

 private:
  // Every argument that is a number after "-p" or "-9" names one possible process.
  static void checkProcessIds(const std::vector<std::string>& arguments) {
    for (std::size_t index = 0; index + 1 < arguments.size(); ++index) {
      if (arguments[index] != "-p" && arguments[index] != "-9") continue;
      const std::string& text = arguments[index + 1];
      std::int64_t id = 0;
      const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
      check(error == std::errc{} && end == text.data() + text.size() && isPossibleProcessId(id));
    }
  }

  const FuzzInput& input_;
};

class FuzzedRunningApplications final : public RunningApplications {
 public:
  explicit FuzzedRunningApplications(const FuzzInput& input) : input_(input) {}
  std::vector<RunningApplication> list() override {
    std::vector<RunningApplication> applications(input_.get().ConsumeIntegralInRange<std::size_t>(0, 3));
    for (RunningApplication& application : applications) {
      application.localizedName = input_.maybeBytes();
      application.processId = input_.get().ConsumeIntegral<std::int32_t>();
    }
    return applications;
  }

 private:
  const FuzzInput& input_;
};

// Any handle, none, or a failure whose reason is any bytes; like the tools, it
// must never be asked about an id that names no possible process.
class FuzzedMainWindowHandles final : public MainWindowHandles {
 public:
  explicit FuzzedMainWindowHandles(const FuzzInput& input) : input_(input) {}
  Expected<std::optional<std::int64_t>> handleOf(std::int64_t processId) override {
    check(isPossibleProcessId(processId));
    if (!input_.chance()) return Failure{input_.bytes()};
    if (!input_.chance()) return std::nullopt;
    return std::optional(input_.get().ConsumeIntegral<std::int64_t>());
  }

 private:
  const FuzzInput& input_;
};

class FuzzedWindowList final : public WindowList {
 public:
  explicit FuzzedWindowList(const FuzzInput& input) : input_(input) {}
  std::optional<std::vector<WindowListEntry>> onScreenWindows() override {
    if (!input_.chance()) return std::nullopt;
    std::vector<WindowListEntry> windows(input_.get().ConsumeIntegralInRange<std::size_t>(0, 3));
    for (WindowListEntry& window : windows) {
      if (input_.chance()) window.ownerProcessId = input_.get().ConsumeIntegral<std::int64_t>();
      window.name = input_.maybeBytes();
      if (input_.chance()) {
        window.bounds = WindowBounds{input_.maybeDouble(), input_.maybeDouble(), input_.maybeDouble(),
                                     input_.maybeDouble()};
      }
    }
    return windows;
  }

 private:
  const FuzzInput& input_;
};

inline FrameRect anyFrame(const FuzzInput& input) {
  return FrameRect{input.anyDouble(), input.anyDouble(), input.anyDouble(), input.anyDouble()};
}

class FuzzedHostWindow final : public HostWindow {
 public:
  FuzzedHostWindow(const FuzzInput& input, std::int64_t number) : input_(input), number_(number) {}
  std::int64_t number() const override { return number_; }
  FrameRect frame() const override { return anyFrame(input_); }
  void hide() override {}
  void present() override {}
  void minimise() override {}
  void setFrame(const FrameRect&) override {}

 private:
  const FuzzInput& input_;
  std::int64_t number_;
};

class FuzzedHostWindows final : public HostWindows {
 public:
  explicit FuzzedHostWindows(const FuzzInput& input) : input_(input) {}
  std::vector<std::unique_ptr<HostWindow>> windows() override {
    std::vector<std::unique_ptr<HostWindow>> windows;
    for (std::size_t count = input_.get().ConsumeIntegralInRange<std::size_t>(0, 2); count > 0; --count) {
      windows.push_back(std::make_unique<FuzzedHostWindow>(input_, input_.get().ConsumeIntegralInRange(0, 3)));
    }
    return windows;
  }
  std::unique_ptr<HostWindow> keyWindow() override {
    return input_.chance() ? std::make_unique<FuzzedHostWindow>(input_, 1) : nullptr;
  }

 private:
  const FuzzInput& input_;
};

class FuzzedScreens final : public Screens {
 public:
  explicit FuzzedScreens(const FuzzInput& input) : input_(input) {}
  std::optional<ScreenFrames> mainScreen() override {
    if (!input_.chance()) return std::nullopt;
    return ScreenFrames{anyFrame(input_), anyFrame(input_)};
  }

 private:
  const FuzzInput& input_;
};

class FuzzedTextMeasurer final : public TextMeasurer {
 public:
  explicit FuzzedTextMeasurer(const FuzzInput& input) : input_(input) {}
  double heightOf(std::string_view, double, const SystemFont&) override { return input_.anyDouble(); }

 private:
  const FuzzInput& input_;
};

class FuzzedAlertWindow final : public AlertWindow {
 public:
  explicit FuzzedAlertWindow(const FuzzInput& input) : input_(input) {}
  FrameRect frame() const override { return anyFrame(input_); }
  void setFrameOrigin(double, double) override {}
  void centre() override {}
  void setContent(const AlertContent&) override {}
  void makeKeyAndOrderFront() override {}
  OnceCallback<void()> closeIfStillOpen() override { return [] {}; }

 private:
  const FuzzInput& input_;
};

class FuzzedAlertWindows final : public AlertWindowFactory {
 public:
  explicit FuzzedAlertWindows(const FuzzInput& input) : input_(input) {}
  std::unique_ptr<AlertWindow> create(const AlertWindowStyle&) override {
    return input_.chance() ? std::make_unique<FuzzedAlertWindow>(input_) : nullptr;
  }

 private:
  const FuzzInput& input_;
};

// Keeps the jobs until the harness runs them, as the main loop's later turns would.
class QueuedJobs final : public MainQueue {
 public:
  void post(Job job) override { jobs.push_back(std::move(job)); }
  void postAfter(std::chrono::seconds, Job job) override { jobs.push_back(std::move(job)); }
  void runAll() {
    while (!jobs.empty()) {
      Job job = std::move(jobs.front());
      jobs.pop_front();
      std::move(job)();
    }
  }

  std::deque<Job> jobs;
};

class SilentDiagnostics final : public Diagnostics {
 public:
  void printLine(std::string_view) override {}
};

class FuzzedKeychain final : public Keychain {
 public:
  explicit FuzzedKeychain(const FuzzInput& input) : input_(input) {}
  std::optional<Certificate> makeCertificate(const std::vector<std::uint8_t>& der) const override {
    return input_.chance() ? std::optional(certificateFromCheckedDer(der)) : std::nullopt;
  }
  Expected<Certificate, KeychainError> copyMatching(const SearchRequest&) override {
    if (input_.chance()) return certificateFromCheckedDer({0x30, 0x00});
    return anyError();
  }
  Expected<void, KeychainError> add(const AddRequest&) override {
    if (input_.chance()) return {};
    return anyError();
  }

 private:
  KeychainError anyError() const {
    return input_.get().PickValueInArray(
        {KeychainError::kItemNotFound, KeychainError::kDuplicateItem, KeychainError::kUnavailable});
  }

  const FuzzInput& input_;
};

class FuzzedTemporaryDirectory final : public TemporaryDirectory {
 public:
  explicit FuzzedTemporaryDirectory(const FuzzInput& input) : input_(input) {}
  std::string path() const override { return input_.bytes(); }
  Expected<void> writeNewFile(const std::string&, const std::vector<std::uint8_t>&) override { return outcome(); }
  Expected<void> removeFile(const std::string&) override { return outcome(); }

 private:
  Expected<void> outcome() const {
    if (input_.chance()) return {};
    return Failure{input_.bytes()};
  }

  const FuzzInput& input_;
};

class FuzzedUuids final : public UuidGenerator {
 public:
  explicit FuzzedUuids(const FuzzInput& input) : input_(input) {}
  std::string newUuid() override { return input_.bytes(); }

 private:
  const FuzzInput& input_;
};

class FuzzedDates final : public DateParser, public Clock {
 public:
  explicit FuzzedDates(const FuzzInput& input) : input_(input) {}
  std::optional<Instant> parse(std::string_view, std::string_view, std::string_view) const override {
    return input_.chance() ? std::optional(now()) : std::nullopt;
  }
  Instant now() const override {
    return Instant(std::chrono::seconds(input_.get().ConsumeIntegralInRange<std::int64_t>(-(1LL << 40), 1LL << 40)));
  }

 private:
  const FuzzInput& input_;
};

class FuzzedMachine final : public NetworkInterfaces, public HardwareIdentity {
 public:
  explicit FuzzedMachine(const FuzzInput& input) : input_(input) {}
  std::optional<std::vector<NetworkInterface>> list() const override {
    if (!input_.chance()) return std::nullopt;
    std::vector<NetworkInterface> interfaces(input_.get().ConsumeIntegralInRange<std::size_t>(0, 3));
    for (NetworkInterface& interface : interfaces) interface.hardwareAddress = input_.maybeBytes();
    return interfaces;
  }
  std::optional<std::string> platformUuid() const override { return input_.maybeBytes(); }

 private:
  const FuzzInput& input_;
};

class FuzzedBundle final : public BundleLocator, public FileSystem {
 public:
  explicit FuzzedBundle(const FuzzInput& input) : input_(input) {}
  std::optional<std::string> resourcePath() const override { return input_.maybeBytes(); }
  std::optional<std::string> executablePath() const override { return input_.maybeBytes(); }
  bool exists(const std::string&) const override { return input_.chance(); }

 private:
  const FuzzInput& input_;
};

// The plug-ins are registered with the shell but are not what this harness
// drives; their desktop services refuse everything.
class RefusingPluginServices final : public UrlOpener, public SecretStore {
 public:
  bool canOpen(const std::string&) const override { return false; }
  Expected<void> open(const std::string&) override { return kRefused; }
  void store(const std::string&, const std::string&, Completion<void> done) override { std::move(done)(kRefused); }
  void lookup(const std::string&, Completion<std::optional<std::string>> done) override { std::move(done)(kRefused); }
  void remove(const std::string&, Completion<void> done) override { std::move(done)(kRefused); }
  void list(Completion<Entries> done) override { std::move(done)(kRefused); }
  void removeAll(Completion<void> done) override { std::move(done)(kRefused); }

 private:
  inline static const Failure kRefused{"refused"};
};

struct FuzzedPlatform {
  explicit FuzzedPlatform(const FuzzInput& input) : input(input) {}
  FuzzedPlatform(const FuzzedPlatform&) = delete;
  FuzzedPlatform& operator=(const FuzzedPlatform&) = delete;

  const FuzzInput& input;
  SilentDiagnostics diagnostics;
  FuzzedToolRunner tools{input};
  FuzzedRunningApplications applications{input};
  FuzzedMainWindowHandles handles{input};
  FuzzedWindowList windowList{input};
  FuzzedHostWindows hostWindows{input};
  FuzzedScreens screens{input};
  FuzzedTextMeasurer textMeasurer{input};
  FuzzedAlertWindows alertWindows{input};
  QueuedJobs mainQueue;
  FuzzedKeychain keychain{input};
  FuzzedTemporaryDirectory temporaryDirectory{input};
  FuzzedUuids uuids{input};
  FuzzedDates dates{input};
  FuzzedMachine machine{input};
  FuzzedBundle bundle{input};
  RefusingPluginServices plugins;

  NoProcessEnds ends;
  ProcessEnvironment process{tools, applications, handles, windowList, diagnostics, ends};
  WindowServices window{windowList, hostWindows, screens, textMeasurer, alertWindows, mainQueue, diagnostics};
  IdentityServices identity{keychain, temporaryDirectory, uuids, tools, dates, dates, machine, machine, diagnostics};
  BundleEnvironment bundleEnvironment{bundle, bundle, diagnostics};
  PluginServices pluginServices{plugins, plugins};
};

}  // namespace quillon::fuzzing
