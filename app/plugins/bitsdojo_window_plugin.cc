#include "app/plugins/bitsdojo_window_plugin.h"

#include <string>

#include "app/bitsdojo_window.h"
#include "embedding/method_channel.h"

namespace quillon {
namespace {

bool isWindowMethod(const std::string& method) {
  return method == "showWindow" || method == "hideWindow" || method == "isWindowVisible" ||
         method == "getAppWindowHandle";
}

void answerWindowCall(BitsdojoWindow& window, const MethodCall& call, ReplyCallback reply) {
  const std::string& method = call.method;
  if (!isWindowMethod(method)) return std::move(reply).notImplemented();
  window.setControlledByInterface();
  if (!window.hasNativeWindow()) {
    std::move(reply).error("UNAVAILABLE", "No main window: the host runs without a display");
  } else if (method == "isWindowVisible") {
    std::move(reply).success(window.isVisible());
  } else if (method == "getAppWindowHandle") {
    std::move(reply).success(*window.windowHandle());
  } else {
    method == "showWindow" ? window.show() : window.hide();
    std::move(reply).success();
  }
}

}  // namespace

void BitsdojoWindowPlugin::registerWith(const PluginRegistrar& registrar) {
  MethodChannel(registrar.messenger(), kChannel)
      .setMethodCallHandler([&window = registrar.window()](const MethodCall& call, ReplyCallback reply) {
        answerWindowCall(window, call, std::move(reply));
      });
}

}  // namespace quillon
