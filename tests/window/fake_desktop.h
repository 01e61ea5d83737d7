// Fakes of the desktop interfaces: a scripted window list, host windows that
// record the actions taken on them, a fixed main screen, measured heights by
// text, alert windows that record how they were built, and a main queue that
// runs jobs only when the test says so.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/capturing_diagnostics.h"
#include "tests/support/fake_window_list.h"
#include "window/window_services.h"

namespace quillon::testing {

// What happened to one fake host window, in order: "hide", "present",
// "minimise", "setFrame x y w h".
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
    state_.actions.push_back("setFrame " + std::to_string(frame.x) + " " + std::to_string(frame.y) + " " +
                             std::to_string(frame.width) + " " + std::to_string(frame.height));
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
    if (!key) return nullptr;
    return std::make_unique<FakeHostWindow>(states.at(*key));
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
    requests.push_back({std::string(text), width, font});
    return heights.at(std::string(text));
  }

  struct Request {
    std::string text;
    double width;
    SystemFont font;
  };
  std::map<std::string, double> heights;
  std::vector<Request> requests;
};

// Everything the alert code did to one window, in order.
struct FakeAlertRecord {
  AlertWindowStyle style;
  FrameRect frame;  // the frame the platform reports
  std::vector<std::string> calls;
  std::optional<AlertContent> content;
  bool open = true;
  int closes = 0;
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
  std::function<void()> closeIfStillOpen() override {
    return [weak = std::weak_ptr<FakeAlertRecord>(record_)] {
      if (auto record = weak.lock(); record && record->open) {
        record->open = false;
        ++record->closes;
      }
    };
  }

 private:
  std::shared_ptr<FakeAlertRecord> record_;
};

class FakeAlertWindowFactory final : public AlertWindowFactory {
 public:
  std::unique_ptr<AlertWindow> create(const AlertWindowStyle& style) override {
    if (!canCreate) return nullptr;
    auto record = std::make_shared<FakeAlertRecord>();
    record->style = style;
    record->frame = FrameRect{0.0, 0.0, style.contentWidth, style.contentHeight + titleBarHeight};
    records.push_back(record);
    return std::make_unique<FakeAlertWindow>(record);
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
    auto jobs = std::exchange(posted, {});
    for (auto& job : jobs) job();
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
