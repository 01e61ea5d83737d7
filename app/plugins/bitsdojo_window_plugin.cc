#include "app/plugins/bitsdojo_window_plugin.h"

#include "app/bitsdojo_window.h"
#include "embedding/method_channel.h"

namespace quillon {
namespace {

void answerWindowCall(BitsdojoWindow& window, const MethodCall& call, ReplyCallback reply) {
  const bool showing = call.method == "showWindow";
  if (!showing && call.method != "hideWindow" && call.method != "isWindowVisible") {
    std::move(reply).notImplemented();
    return;
  }
  if (!window.frame()) {
    std::move(reply).error("UNAVAILABLE", "No main window: the host runs without a display");
    return;
  }
  if (call.method == "isWindowVisible") {
    std::move(reply).success(window.isVisible());
    return;
  }
  showing ? window.show() : window.hide();
  std::move(reply).success();
}

}  // namespace

void BitsdojoWindowPlugin::registerWith(const PluginRegistrar& registrar) {
  MethodChannel(registrar.messenger(), kChannel)
      .setMethodCallHandler([&window = registrar.window()](const MethodCall& call, ReplyCallback reply) {
        answerWindowCall(window, call, std::move(reply));
      });
}

}  // namespace quillon
