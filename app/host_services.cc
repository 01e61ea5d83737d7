#include "app/host_services.h"

#include <utility>

namespace quillon {

HostServices::HostServices()
    : bundle_{bundleLocator_, files_, diagnostics_},
      window_{windowList_, hostWindows_, screens_, textMeasurer_, alertWindows_, mainQueue_, diagnostics_} {}

CommandServices HostServices::commandServices(std::function<ProcessManager&()> processManager) const {
  return CommandServices{std::move(processManager), bundle_, window_};
}

}  // namespace quillon
