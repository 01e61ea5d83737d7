#include "app/launch_handover.h"

#include <cstdio>

#include "app/instance_channel.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

// The running host's answer: whether its window came forward, or the reason
// it did not take the launch.
Expected<bool> askRunningHost(LinkClient& host, const std::string& startupId) {
  ChannelMap arguments;
  arguments.set("startupId", startupId);
  const auto reply =
      host.call(InstanceChannel::kName, MethodCall{"activate", std::move(arguments)}, kHandoverAnswerTime);
  if (!reply.hasValue()) return reply.error();
  if (reply->isSuccess() && reply->value().is<bool>()) return reply->value().get<bool>();
  return Failure{"it answered " + describe(*reply)};
}

}  // namespace

int handOverLaunch(const std::string& socketPath, const std::string& startupId, const std::string& refusal) {
  const auto host = LinkClient::connect(socketPath, kHandoverAnswerTime);
  if (!host.hasValue() && host.error().kind == LinkClient::ConnectFailure::Kind::anotherUser) {
    std::fprintf(stderr, "quillon-host: %s; the launch is not handed over to it\n", host.error().reason.c_str());
    return 1;
  }
  const Expected<bool> broughtForward =
      host.hasValue() ? askRunningHost(**host, startupId) : Failure{host.error().reason};
  if (!broughtForward.hasValue()) {
    std::fprintf(stderr, "quillon-host: %s and did not take the launch: %s\n", refusal.c_str(),
                 broughtForward.error().reason.c_str());
    return 1;
  }
  std::fprintf(stderr, "quillon-host: QUILLON Remote App already runs on %s; %s\n", socketPath.c_str(),
               *broughtForward ? "its window was brought forward" : "its window is not shown");
  return 0;
}

}  // namespace quillon
