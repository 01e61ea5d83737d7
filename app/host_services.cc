#include "app/host_services.h"

#include <utility>

namespace quillon {

HostServices::HostServices()
    : bundle_{bundleLocator_, files_, diagnostics_},
      process_{tools_, applications_, scripts_, windows_, diagnostics_} {}

CommandServices HostServices::commandServices(std::function<ProcessManager&()> processManager) const {
  return CommandServices{std::move(processManager), bundle_};
}

}  // namespace quillon
