#include "app/launch_handover.h"

#include <cstdio>
#include <optional>

#include "app/instance_channel.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

// The running host's answer: whether its window came forward, or the reason
// it did not take the launch.
std::optional<bool> askRunningHost(const std::string& socketPath, const std::string& startupId, std::string* reason) {
  auto client = LinkClient::connect(socketPath, reason);
  if (!client) return std::nullopt;
  ChannelMap arguments;
  arguments.set("startupId", startupId);
  const auto reply =
      client->call(InstanceChannel::kName, MethodCall{"activate", std::move(arguments)}, kHandoverAnswerTime, reason);
  if (!reply) return std::nullopt;
  if (reply->isSuccess() && reply->value().is<bool>()) return reply->value().get<bool>();
  *reason = "it answered " + describe(*reply);
  return std::nullopt;
}

}  // namespace

int handOverLaunch(const std::string& socketPath, const std::string& startupId, const std::string& refusal) {
  std::string reason;
  const std::optional<bool> broughtForward = askRunningHost(socketPath, startupId, &reason);
  if (!broughtForward) {
    std::fprintf(stderr, "quillon-host: %s and did not take the launch: %s\n", refusal.c_str(), reason.c_str());
    return 1;
  }
  std::fprintf(stderr, "quillon-host: QUILLON Remote App already runs on %s; %s\n", socketPath.c_str(),
               *broughtForward ? "its window was brought forward" : "its window is not shown");
  return 0;
}

}  // namespace quillon
