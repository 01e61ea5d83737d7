#include "app/app_delegate.h"

#include "app/application.h"
#include "app/main_flutter_window.h"
#include "channel/channel_names.h"
#include "embedding/method_channel.h"

namespace quillon {

void AppDelegate::applicationDidFinishLaunching(Application& application) {
  BinaryMessenger* messenger = engineMessenger(application);
  if (messenger == nullptr) return;
  MethodChannel(*messenger, kAppCloseChannel)
      .setMethodCallHandler([this, &application](const MethodCall& call, ReplyCallback reply) {
        handleCloseCall(application, call, std::move(reply));
      });
}

TerminateReply AppDelegate::applicationShouldTerminate(Application& application) {
  if (shouldTerminate_) return TerminateReply::now;
  if (BinaryMessenger* messenger = engineMessenger(application)) {
    MethodChannel(*messenger, kAppCloseChannel).invokeMethod("onAppCloseRequested");
  }
  return TerminateReply::cancel;
}

void AppDelegate::handleCloseCall(Application& application, const MethodCall& call, ReplyCallback reply) {
  if (call.method != "forceQuitApp") {
    std::move(reply).notImplemented();
    return;
  }
  shouldTerminate_ = true;
  application.terminate();
  // When the termination goes ahead the main loop ends after this handler; the
  // interface may or may not see the answer before the link closes.
  std::move(reply).success();
}

BinaryMessenger* AppDelegate::engineMessenger(const Application& application) {
  const MainFlutterWindow* window = application.mainFlutterWindow();
  if (window == nullptr) return nullptr;
  FlutterViewController* controller = window->contentViewController();
  if (controller == nullptr) return nullptr;
  return &controller->engine().binaryMessenger();
}

}  // namespace quillon
