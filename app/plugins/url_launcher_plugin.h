// UrlLauncherPlugin: the native half of URL opening on this desktop, over the
// channel "plugins.flutter.io/url_launcher_linux":
//   "canLaunch" {"url": String} -> whether an application is registered for
//       the URL's scheme;
//   "launch" {"url": String} -> true once the application has been started,
//       or the error "Launch Error" with the desktop's reason;
//   without a string "url" -> the error "INVALID_ARGUMENT", "Expected url";
//   a "url" beyond kUrlLimit (commands/argument_limits.h) -> "INVALID_ARGUMENT"
//       with its refusal, before any application is looked for;
//   any other name -> not-implemented.
#pragma once

#include "app/plugin_registry.h"

namespace quillon {

class UrlLauncherPlugin {
 public:
  static constexpr const char* kChannel = "plugins.flutter.io/url_launcher_linux";

  static void registerWith(const PluginRegistrar& registrar);
};

}  // namespace quillon
