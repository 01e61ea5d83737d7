#include "app/flutter_view_controller.h"

#include <cstdio>
#include <cstdlib>

namespace quillon {

PluginRegistrar FlutterViewController::registrarForPlugin(std::string_view pluginName) {
  if (window_ == nullptr) {
    // Registering before the controller sits in a window is a bug in the set-up, never input.
    std::fputs("quillon-host: programming error: plug-in registered before the view has a window\n", stderr);
    std::abort();
  }
  registeredPlugins_.emplace_back(pluginName);
  return PluginRegistrar(engine_->binaryMessenger(), *window_, services_);
}

}  // namespace quillon
