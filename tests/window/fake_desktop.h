// Fakes of the desktop interfaces: a scripted window list, main screen and
// text heights; host windows and alert windows that record what was done to
// them, in order; a main queue that runs jobs only when the test says so.
#pragma once

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

// One fake host window; its actions: "hide", "present", "minimise", "setFrame x y w h".
struct FakeWindowState {
  std::int64_t number = 0;
  FrameRect frame;
  std::vector<std::string> actions;
};

class FakeHostWindow final : public HostWindow {
 public:
  explicit FakeHostWindow(FakeWindowState& state) : state_(state) {}
  std::int64_t number() const override { return state_.number; }
  FrameRect frame() const override { return state_.frame; }
  void hide() override { state_.actions.push_back("hide"); }
  void present() override { state_.actions.push_back("present"); }
  void minimise() override { state_.actions.push_back("minimise"); }
  void setFrame(const FrameRect& frame) override {
    state_.frame = frame;
    std::ostringstream action;
    action << "setFrame " << frame.x << ' ' << frame.y << ' ' << frame.width << ' ' << frame.height;
    state_.actions.push_back(action.str());
  }

 private:
  FakeWindowState& state_;
};

class FakeHostWindows final : public HostWindows {
 public:
  std::vector<std::unique_ptr<HostWindow>> windows() override {
    std::vector<std::unique_ptr<HostWindow>> handles;
    for (FakeWindowState& state : states) handles.push_back(std::make_unique<FakeHostWindow>(state));
    return handles;
  }
  std::unique_ptr<HostWindow> keyWindow() override {
    return key ? std::make_unique<FakeHostWindow>(states.at(*key)) : nullptr;
  }

  std::vector<FakeWindowState> states;
  std::optional<std::size_t> key;  // index into states
};

class FakeScreens final : public Screens {
 public:
  std::optional<ScreenFrames> mainScreen() override { return screen; }
  std::optional<ScreenFrames> screen;
};

class FakeTextMeasurer final : public TextMeasurer {
 public:
  double heightOf(std::string_view text, double width, const SystemFont& font) override {
    requests.emplace_back(std::string(text), width, font);
    return heights.at(std::string(text));
  }

  std::map<std::string, double> heights;
  std::vector<std::tuple<std::string, double, SystemFont>> requests;
};

// Everything the alert code did to one window, in order; "close" when the
// automatic close ran.
struct FakeAlertRecord {
  AlertWindowStyle style;
  FrameRect frame;  // the frame the platform reports
  std::vector<std::string> calls;
  std::optional<AlertContent> content;
};

class FakeAlertWindow final : public AlertWindow {
 public:
  explicit FakeAlertWindow(std::shared_ptr<FakeAlertRecord> record) : record_(std::move(record)) {}
  FrameRect frame() const override { return record_->frame; }
  void setFrameOrigin(double x, double y) override {
    record_->frame.x = x;
    record_->frame.y = y;
    record_->calls.push_back("setFrameOrigin");
  }
  void centre() override { record_->calls.push_back("centre"); }
  void setContent(const AlertContent& content) override {
    record_->content = content;
    record_->calls.push_back("setContent");
  }
  void makeKeyAndOrderFront() override { record_->calls.push_back("makeKeyAndOrderFront"); }
  OnceCallback<void()> closeIfStillOpen() override {
    return [record = record_] { record->calls.push_back("close"); };
  }

 private:
  std::shared_ptr<FakeAlertRecord> record_;
};

class FakeAlertWindowFactory final : public AlertWindowFactory {
 public:
  std::unique_ptr<AlertWindow> create(const AlertWindowStyle& style) override {
    if (!canCreate) return nullptr;
    records.push_back(std::make_shared<FakeAlertRecord>(
        FakeAlertRecord{style, {0.0, 0.0, style.contentWidth, style.contentHeight + titleBarHeight}, {}, {}}));
    return std::make_unique<FakeAlertWindow>(records.back());
  }

  bool canCreate = true;
  double titleBarHeight = 0.0;
  std::vector<std::shared_ptr<FakeAlertRecord>> records;
};

class FakeMainQueue final : public MainQueue {
 public:
  void post(Job job) override { posted.push_back(std::move(job)); }
  void postAfter(std::chrono::seconds delay, Job job) override { delayed.emplace_back(delay, std::move(job)); }

  // Runs the jobs posted so far (not those they post in turn).
  void runPosted() {
    for (auto& job : std::exchange(posted, {})) std::move(job)();
  }

  std::vector<Job> posted;
  std::vector<std::pair<std::chrono::seconds, Job>> delayed;
};

// One set of fakes wired as the window services.
struct FakeDesktop {
  FakeWindowList windowList;
  FakeHostWindows hostWindows;
  FakeScreens screens;
  FakeTextMeasurer textMeasurer;
  FakeAlertWindowFactory alertWindows;
  FakeMainQueue mainQueue;
  CapturingDiagnostics diagnostics;
  WindowServices services{windowList, hostWindows, screens, textMeasurer, alertWindows, mainQueue, diagnostics};
};

}  // namespace quillon::testing
