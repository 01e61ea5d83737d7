// Application: the application object of the host. It routes every termination
// request of the desktop (the Quit command, the closing of the last window, the
// system's signals) to the delegate and ends the main loop only when the
// delegate grants it. Another launch of the application, handed over to this
// one, brings the main window forward.
//
// Contract: main thread only. It borrows the delegate, the main loop and the
// main window, which must outlive it; the main window may be absent (no
// display, or not created yet).
#pragma once

#include <chrono>
#include <string>

#include "app/app_delegate.h"
#include "platform/main_loop.h"

namespace quillon {

class MainFlutterWindow;

// How long after start-up the main window waits, hidden, for an interface to
// take it over before it shows itself: an interface started with the host
// asks well within it, a person who started the host alone sees the window
// while the desktop still shows the launch as under way.
inline constexpr std::chrono::seconds kInterfaceTakeOverTime{2};

class Application {
 public:
  Application(AppDelegate& delegate, MainLoop& loop) : delegate_(delegate), loop_(loop) {}
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  void setMainFlutterWindow(MainFlutterWindow* window) { mainFlutterWindow_ = window; }
  MainFlutterWindow* mainFlutterWindow() const { return mainFlutterWindow_; }

  // Tells the delegate that launching has finished.
  void finishLaunching() { delegate_.applicationDidFinishLaunching(*this); }

  // A termination request: granted, it ends the main loop with status 0;
  // refused, nothing else happens here.
  void terminate();

  // The last window was closed: a termination request when the delegate says so.
  void lastWindowClosed();

  // The close button of the main window's view: offered to the interface as
  // the window manager's close is; with no interface connected nobody could
  // answer, and the application ends with status 0.
  void closeButtonPressed(bool interfaceConnected);

  // kInterfaceTakeOverTime after start-up: the main window shows unless an
  // interface controls it, so that a launch without one shows something.
  void interfaceTakeOverTimeEnded();

  // Another launch of the application (a second start from the menu or the
  // dock) handed over to this one: the main window comes forward when the
  // interface has shown it. Answers whether it did.
  bool reopen(const std::string& startupId);

  int run() { return loop_.run(); }

 private:
  AppDelegate& delegate_;
  MainLoop& loop_;
  MainFlutterWindow* mainFlutterWindow_ = nullptr;
};

}  // namespace quillon
