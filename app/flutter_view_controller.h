// FlutterViewController: the stand-in for the view controller that hosts the
// interface's view. It owns the engine (and through it the messenger and the
// interface link) and is the plug-in registry; it borrows the desktop services
// that plug-ins use, which must outlive it.
//
// Contract: main thread only; created by the main window's wake-up and kept by
// the window for the life of the process. Registrars it hands out need the
// window it is attached to.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/plugin_registry.h"
#include "app/view_engine.h"

namespace quillon {

class FlutterViewController final : public PluginRegistry {
 public:
  FlutterViewController(std::unique_ptr<ViewEngine> engine, PluginServices services)
      : engine_(std::move(engine)), services_(services) {}
  FlutterViewController(const FlutterViewController&) = delete;
  FlutterViewController& operator=(const FlutterViewController&) = delete;

  ViewEngine& engine() { return *engine_; }

  // Called by the window that makes this its content view controller.
  void attachTo(BitsdojoWindow& window) { window_ = &window; }

  PluginRegistrar registrarForPlugin(std::string_view pluginName) override;

  // Every name given to registrarForPlugin(), in order.
  const std::vector<std::string>& registeredPlugins() const { return registeredPlugins_; }

 private:
  std::unique_ptr<ViewEngine> engine_;
  PluginServices services_;
  BitsdojoWindow* window_ = nullptr;
  std::vector<std::string> registeredPlugins_;
};

}  // namespace quillon
