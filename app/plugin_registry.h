// PluginRegistry: where plug-ins are registered with the engine, each under its
// name; PluginRegistrar: what one plug-in gets for its registration.
//
// Contract: a registrar borrows the messenger, the window and the desktop's
// services, which live as long as the view controller that hands it out; a
// plug-in keeps what it needs of them in the handlers it installs.
#pragma once

#include <string_view>

#include "app/plugin_services.h"
#include "embedding/binary_messenger.h"

namespace quillon {

class BitsdojoWindow;

class PluginRegistrar {
 public:
  PluginRegistrar(BinaryMessenger& messenger, BitsdojoWindow& window, PluginServices services)
      : messenger_(messenger), window_(window), services_(services) {}

  BinaryMessenger& messenger() const { return messenger_; }
  // The window that hosts the view.
  BitsdojoWindow& window() const { return window_; }
  const PluginServices& services() const { return services_; }

 private:
  BinaryMessenger& messenger_;
  BitsdojoWindow& window_;
  PluginServices services_;
};

class PluginRegistry {
 public:
  virtual ~PluginRegistry() = default;
  virtual PluginRegistrar registrarForPlugin(std::string_view pluginName) = 0;
};

}  // namespace quillon
