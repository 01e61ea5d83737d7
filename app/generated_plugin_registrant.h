// The plug-ins that the main window registers, in registration order, and the
// registration itself.
#pragma once

#include <span>
#include <string_view>

#include "app/plugin_registry.h"

namespace quillon {

struct PluginEntry {
  std::string_view name;  // given to registrarForPlugin()
  void (*registerWith)(const PluginRegistrar& registrar);
};

// The six plug-ins, in order: window chrome first.
std::span<const PluginEntry> generatedPlugins();

// Registers each of `plugins` once, in order.
void registerGeneratedPlugins(PluginRegistry& registry, std::span<const PluginEntry> plugins);

}  // namespace quillon
