// PluginRegistry: where plug-ins are registered with the engine, each under its
// name; PluginRegistrar: what one plug-in gets for its registration.
//
// Contract: a registrar borrows the messenger, the window and the desktop's
// services, which live as long as the view controller that hands it out; a
// plug-in keeps what it needs of them in the handlers it installs.
#pragma once

#include <string_view>

#include "embedding/binary_messenger.h"
#include "platform/url_opener.h"

namespace quillon {

class BitsdojoWindow;

class PluginRegistrar {
 public:
  PluginRegistrar(BinaryMessenger& messenger, BitsdojoWindow& window, UrlOpener& urlOpener)
      : messenger_(messenger), window_(window), urlOpener_(urlOpener) {}

  BinaryMessenger& messenger() const { return messenger_; }
  // The window that hosts the view.
  BitsdojoWindow& window() const { return window_; }
  UrlOpener& urlOpener() const { return urlOpener_; }

 private:
  BinaryMessenger& messenger_;
  BitsdojoWindow& window_;
  UrlOpener& urlOpener_;
};

class PluginRegistry {
 public:
  virtual ~PluginRegistry() = default;
  virtual PluginRegistrar registrarForPlugin(std::string_view pluginName) = 0;
};

}  // namespace quillon
