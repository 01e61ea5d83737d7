// LinkMessenger: the BinaryMessenger of the interface link.
//
// Contract: owns the connections it adopts and closes them when closeAll() is
// called or it goes away. Messages are handed to the channel's handler on the
// main context, one at a time, those of one connection in arrival order; a
// message to a channel without a handler gets the empty reply. Replies go back
// to the connection that asked, if it is still there; a message sent with id 0
// has its reply dropped. Each reply carries its connection as the caller's key.
// Messages that the host sends go to every connected interface. Reply frames
// from an interface are dropped: the host never asks for an answer. The
// connections share one budget for what they hold of incoming bytes and one
// for their unsent bytes (see MemoryBudget), and take turns (see
// LinkConnection). An observer, when set, is told of the number of
// connections whenever it changes, and of the calls on channels without a
// handler (method channels tell it of theirs).
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "embedding/binary_messenger.h"
#include "embedding/link_connection.h"

namespace quillon {

class LinkMessenger final : public BinaryMessenger {
 public:
  explicit LinkMessenger(std::size_t incomingBudget = kIncomingBudget, std::size_t outgoingBudget = kOutgoingBudget);
  LinkMessenger(const LinkMessenger&) = delete;
  LinkMessenger& operator=(const LinkMessenger&) = delete;
  ~LinkMessenger() override;

  // Serves a connected, non-blocking stream socket from now on.
  void adopt(UniqueFd socket);
  void closeAll();
  std::size_t connectionCount() const { return connections_.size(); }
  // What all connections hold of incoming and of unsent bytes.
  std::size_t incomingBytesHeld() const { return budgets_.incoming->used(); }
  std::size_t outgoingBytesHeld() const { return budgets_.outgoing->used(); }

  void send(std::string_view channel, std::vector<std::uint8_t> message) override;
  void setMessageHandler(std::string channel, MessageHandler handler) override;

  // None by default; the observer must outlive the messenger or be unset first.
  void setObserver(LinkObserver* observer) { observer_ = observer; }
  LinkObserver* observer() const override { return observer_; }

 private:
  void onFrame(LinkConnection& connection, LinkFrame frame);
  void onClosed(LinkConnection& connection, const std::optional<std::string>& fault);
  void noteUnhandled(std::string_view channel, std::span<const std::uint8_t> message);

  LinkConnection::Budgets budgets_;
  std::map<std::string, MessageHandler, std::less<>> handlers_;
  std::vector<std::shared_ptr<LinkConnection>> connections_;
  LinkObserver* observer_ = nullptr;
};

}  // namespace quillon
