// AppDelegate: answers the application's lifecycle questions and holds the
// close handshake. A request to quit is not granted by the host but offered to
// the interface on "app_close_channel" ("onAppCloseRequested", no reply
// wanted); the interface decides and calls "forceQuitApp", after which every
// termination request is granted.
//
// Contract: main thread only. The handler it installs on "app_close_channel"
// refers to the delegate and the application, which must outlive the engine
// that carries the channel. Every call on that channel is answered exactly once.
#pragma once

#include "channel/method_call.h"
#include "channel/reply_callback.h"

namespace quillon {

class Application;
class BinaryMessenger;

enum class TerminateReply { now, cancel };

class AppDelegate {
 public:
  AppDelegate() = default;
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  // False until the interface has called "forceQuitApp"; then true for good.
  bool shouldTerminate() const { return shouldTerminate_; }

  // Opens "app_close_channel" on the main window's engine, when there is one.
  void applicationDidFinishLaunching(Application& application);

  // Grants once released; while guarded, offers the quit to the interface
  // (when the engine is there) and refuses. Never waits for the interface.
  TerminateReply applicationShouldTerminate(Application& application);

  // Closing the last window is a termination request like any other.
  bool applicationShouldTerminateAfterLastWindowClosed(const Application&) const { return true; }
  bool applicationSupportsSecureRestorableState(const Application&) const { return true; }

 private:
  void handleCloseCall(Application& application, const MethodCall& call, ReplyCallback reply);
  static BinaryMessenger* engineMessenger(const Application& application);

  bool shouldTerminate_ = false;
};

}  // namespace quillon
