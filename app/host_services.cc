#include "app/host_services.h"

#include <utility>

namespace quillon {

namespace {

// Stands in for the process services' tool runner until they land: every run
// reports that the tool could not be started.
class ToolRunnerNotYetBuilt final : public ToolRunner {
 public:
  ToolRun run(const std::string&, const std::vector<std::string>&, Streams) override {
    ToolRun run;
    run.startError = "the tool runner is not built yet";
    return run;
  }
};

}  // namespace

HostServices::HostServices()
    : bundle_{bundleLocator_, files_, diagnostics_},
      tools_(std::make_unique<ToolRunnerNotYetBuilt>()),
      identity_{keychain_, temporaryDirectory_, uuids_, *tools_, dates_, clock_, interfaces_, hardware_, diagnostics_} {}

CommandServices HostServices::commandServices(std::function<ProcessManager&()> processManager) const {
  return CommandServices{std::move(processManager), bundle_, identity_};
}

}  // namespace quillon
