#include "app/plugins/url_launcher_plugin.h"

#include <string>

#include "channel/utf8_text.h"
#include "commands/argument_limits.h"
#include "commands/command_arguments.h"
#include "commands/command_replies.h"
#include "embedding/method_channel.h"

namespace quillon {
namespace {

void answerUrlCall(UrlOpener& urls, const MethodCall& call, ReplyCallback reply) {
  if (call.method != "canLaunch" && call.method != "launch") {
    std::move(reply).notImplemented();
    return;
  }
  const std::optional<CommandArguments> arguments = CommandArguments::from(call.arguments);
  const std::string* url = arguments ? arguments->string("url") : nullptr;
  if (url == nullptr) return answerInvalidArgument(std::move(reply), "Expected url");
  if (refuseBeyondLimit(kUrlLimit, *url, reply)) return;
  if (call.method == "canLaunch") return std::move(reply).success(urls.canOpen(*url));
  if (const Expected<void> opened = urls.open(*url); !opened.hasValue()) {
    std::move(reply).error("Launch Error", "Failed to launch URL: " + toUtf8Text(opened.error().reason));
  } else {
    std::move(reply).success(true);
  }
}

}  // namespace

void UrlLauncherPlugin::registerWith(const PluginRegistrar& registrar) {
  MethodChannel(registrar.messenger(), kChannel)
      .setMethodCallHandler([&urls = registrar.services().urls](const MethodCall& call, ReplyCallback reply) {
        answerUrlCall(urls, call, std::move(reply));
      });
}

}  // namespace quillon
