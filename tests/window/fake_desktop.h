// Fakes of the desktop interfaces, one object: a scripted window list, main
// screen and text heights; a main queue that runs jobs only when the test says
// so; and one log, in order, of everything done to the host's windows and the
// alerts ("42 hide", "alert setFrameOrigin 300 300", "alert close", ...).
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/capturing_diagnostics.h"
#include "tests/support/fake_window_list.h"
#include "window/window_services.h"

namespace quillon::testing {

// A host window (its number) or an alert (number 0, its style and content).
struct FakeWindowState {
  std::int64_t number = 0;
  FrameRect frame;
  AlertWindowStyle style = {};
  std::optional<AlertContent> content = {};
};

// The handle to either kind: both interfaces' frame() is the same.
struct FakeWindow final : HostWindow, AlertWindow {
  FakeWindow(FakeWindowState& kept, std::vector<std::string>& written) : state(kept), log(written) {}
  std::int64_t number() const override { return state.number; }
  FrameRect frame() const override { return state.frame; }
  void hide() override { note("hide"); }
  void present() override { note("present"); }
  void minimise() override { note("minimise"); }
  void setFrame(const FrameRect& frame) override {
    state.frame = frame;
    note("setFrame", {frame.x, frame.y, frame.width, frame.height});
  }
  void setFrameOrigin(double x, double y) override {
    std::tie(state.frame.x, state.frame.y) = std::pair(x, y);
    note("setFrameOrigin", {x, y});
  }
  void centre() override { note("centre"); }
  void setContent(const AlertContent& content) override { state.content = content, note("setContent"); }
  void makeKeyAndOrderFront() override { note("makeKeyAndOrderFront"); }
  OnceCallback<void()> closeIfStillOpen() override { return [to = &log] { to->push_back("alert close"); }; }

  void note(const char* action, std::initializer_list<double> values = {}) {
    std::ostringstream line;
    line << (state.number != 0 ? std::to_string(state.number) : "alert") << ' ' << action;
    for (const double value : values) line << ' ' << value;
    log.push_back(line.str());
  }

  FakeWindowState& state;
  std::vector<std::string>& log;
};

struct FakeDesktop final : HostWindows, Screens, TextMeasurer, AlertWindowFactory, MainQueue {
  std::vector<std::unique_ptr<HostWindow>> windows() override {
    std::vector<std::unique_ptr<HostWindow>> handles;
    for (FakeWindowState& window : hostWindows) handles.push_back(std::make_unique<FakeWindow>(window, log));
    return handles;
  }
  std::unique_ptr<HostWindow> keyWindow() override {
    return key ? std::make_unique<FakeWindow>(hostWindows.at(*key), log) : nullptr;
  }
  std::optional<ScreenFrames> mainScreen() override { return screen; }
  double heightOf(std::string_view text, double width, const SystemFont& font) override {
    measured.emplace_back(std::string(text), width, font);
    return heights.at(std::string(text));
  }
  std::unique_ptr<AlertWindow> create(const AlertWindowStyle& style) override {
    if (!canCreate) return nullptr;
    alerts.push_back({0, {0.0, 0.0, style.contentWidth, style.contentHeight + titleBarHeight}, style});
    return std::make_unique<FakeWindow>(alerts.back(), log);
  }
  void post(Job job) override { posted.push_back(std::move(job)); }
  void postAfter(std::chrono::seconds delay, Job job) override { delayed.emplace_back(delay, std::move(job)); }

  // Runs the jobs posted so far (not those they post in turn).
  void runPosted() {
    for (auto& job : std::exchange(posted, {})) std::move(job)();
  }

  FakeWindowList windowList;
  std::vector<FakeWindowState> hostWindows;
  std::optional<std::size_t> key;  // index into hostWindows
  std::optional<ScreenFrames> screen;
  std::map<std::string, double> heights;
  std::vector<std::tuple<std::string, double, SystemFont>> measured;
  bool canCreate = true;
  double titleBarHeight = 0.0;  // added to the alerts' content height
  std::deque<FakeWindowState> alerts;
  std::vector<Job> posted;
  std::vector<std::pair<std::chrono::seconds, Job>> delayed;
  std::vector<std::string> log;
  CapturingDiagnostics diagnostics;
  WindowServices services{windowList, *this, *this, *this, *this, *this, diagnostics};
};

}  // namespace quillon::testing
