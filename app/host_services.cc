#include "app/host_services.h"

#include <utility>

namespace quillon {

HostServices::HostServices()
    : bundle_{bundleLocator_, files_, diagnostics_},
      process_{tools_, applications_, scripts_, windows_, diagnostics_},
      identity_{keychain_, temporaryDirectory_, uuids_, tools_, dates_, clock_, interfaces_, hardware_,
                diagnostics_} {}

CommandServices HostServices::commandServices(std::function<ProcessManager&()> processManager) const {
  return CommandServices{std::move(processManager), bundle_, identity_};
}

}  // namespace quillon
