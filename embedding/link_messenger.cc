#include "embedding/link_messenger.h"

#include <algorithm>

#include "base/printed_lines.h"
#include "channel/standard_codec.h"

namespace quillon {

LinkMessenger::LinkMessenger(std::size_t incomingBudget, std::size_t outgoingBudget)
    : budgets_{std::make_shared<MemoryBudget>(incomingBudget), std::make_shared<MemoryBudget>(outgoingBudget)} {}

LinkMessenger::~LinkMessenger() { closeAll(); }

void LinkMessenger::adopt(UniqueFd socket) {
  connections_.push_back(LinkConnection::adopt(
      std::move(socket), budgets_, [this](LinkConnection& connection, LinkFrame frame) { onFrame(connection, std::move(frame)); },
      [this](LinkConnection& connection, const std::optional<std::string>& fault) { onClosed(connection, fault); }));
  if (observer_ != nullptr) observer_->connectionsChanged(connections_.size());
}

void LinkMessenger::closeAll() {
  // Closing calls back into onClosed, which edits the list.
  for (const auto& connection : std::vector(connections_)) connection->close();
  connections_.clear();
}

void LinkMessenger::send(std::string_view channel, std::vector<std::uint8_t> message) {
  const auto frame = encodeMessageFrame(0, channel, message);
  for (const auto& connection : std::vector(connections_)) connection->write(frame);
}

void LinkMessenger::setMessageHandler(std::string channel, MessageHandler handler) {
  if (handler) {
    handlers_.insert_or_assign(std::move(channel), std::move(handler));
  } else {
    handlers_.erase(channel);
  }
}

void LinkMessenger::onFrame(LinkConnection& connection, LinkFrame frame) {
  if (frame.kind != FrameKind::message) return;
  const std::uint32_t id = frame.id;
  BinaryReply reply([weak = connection.weak_from_this(), id](std::vector<std::uint8_t> payload) {
    if (id == 0) return;
    if (auto target = weak.lock()) target->write(encodeReplyFrame(id, payload));
  }, CallerKey(connection.weak_from_this()));
  const auto found = handlers_.find(frame.channel);
  if (found == handlers_.end()) {
    noteUnhandled(frame.channel, frame.payload);
    return std::move(reply)({});
  }
  // A copy: the handler may replace itself while it runs.
  const MessageHandler handler = found->second;
  handler(frame.payload, std::move(reply));
}

void LinkMessenger::onClosed(LinkConnection& connection, const std::optional<std::string>& fault) {
  if (fault) {
    standardErrorLines().print("dropped interface connections", "quillon-host: dropped an interface connection: " + *fault);
  }
  std::erase_if(connections_, [&connection](const auto& held) { return held.get() == &connection; });
  if (observer_ != nullptr) observer_->connectionsChanged(connections_.size());
}

// Method channels tell the observer of the calls they receive; a call on a
// channel nobody serves (a plug-in without a native half) is told here.
void LinkMessenger::noteUnhandled(std::string_view channel, std::span<const std::uint8_t> message) {
  if (observer_ == nullptr) return;
  const auto call = StandardCodec::decodeMethodCall(message);
  if (!call.hasValue()) return;
  if (LinkObserver::AnswerNote note = observer_->callReceived(channel, *call)) {
    std::move(note)(ChannelReply::notImplemented());
  }
}

}  // namespace quillon
