#include "app/host_services.h"

#include <utility>

namespace quillon {

HostServices::HostServices()
    : bundle_{bundleLocator_, files_, diagnostics_},
      window_{windowList_, hostWindows_, screens_, textMeasurer_, alertWindows_, mainQueue_, diagnostics_},
      process_{tools_, applications_, mainWindowHandles_, windowList_, diagnostics_, processEnds_},
      identity_{keychain_, temporaryDirectory_, uuids_, tools_, dates_, clock_, interfaces_, hardware_,
                diagnostics_} {}

CommandServices HostServices::commandServices(std::function<ProcessManager&()> processManager) {
  return CommandServices{std::move(processManager), window_, identity_, bundle_, blocking_};
}

void HostServices::endBackgroundWork() {
  blocking_.end();
  tools_.endAllRuns();
  workers_.finish();
}

}  // namespace quillon
