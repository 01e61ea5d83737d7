#include "app/generated_plugin_registrant.h"

#include <array>

#include "app/plugins/bitsdojo_window_plugin.h"
#include "app/plugins/flutter_secure_storage_plugin.h"
#include "app/plugins/registration_only_plugins.h"
#include "app/plugins/url_launcher_plugin.h"

namespace quillon {

std::span<const PluginEntry> generatedPlugins() {
  static constexpr std::array kPlugins{
      PluginEntry{"BitsdojoWindowPlugin", &BitsdojoWindowPlugin::registerWith},
      PluginEntry{"ConnectivityPlusPlugin", &registerWithoutNativeHalf},
      PluginEntry{"FlutterSecureStoragePlugin", &FlutterSecureStoragePlugin::registerWith},
      PluginEntry{"FPPPackageInfoPlusPlugin", &registerWithoutNativeHalf},
      PluginEntry{"PathProviderPlugin", &registerWithoutNativeHalf},
      PluginEntry{"UrlLauncherPlugin", &UrlLauncherPlugin::registerWith},
  };
  return kPlugins;
}

void registerGeneratedPlugins(PluginRegistry& registry, std::span<const PluginEntry> plugins) {
  for (const PluginEntry& plugin : plugins) plugin.registerWith(registry.registrarForPlugin(plugin.name));
}

}  // namespace quillon
