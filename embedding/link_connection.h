// LinkConnection: the host's end of one connected interface process.
//
// Contract: lives in a shared_ptr held by its owner (the messenger); replies
// hold it weakly, so an answer that comes after the client has left is dropped.
// It never blocks: incoming bytes are kept until a frame is complete, outgoing
// bytes until the socket takes them, both driven by GLib sources on the default
// main context. The bytes of its unfinished frame are its share of the
// incoming budget that all connections share; a read that would pass the
// budget closes the connection. Each complete frame goes to the frame handler, one at a time, in
// arrival order. A framing error, the end of the stream or a socket error closes
// the connection; the closed handler is then called exactly once, and no
// handler is called after it.
#pragma once

#include <glib.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/unique_fd.h"
#include "embedding/incoming_budget.h"
#include "embedding/link_frame.h"

namespace quillon {

class LinkConnection : public std::enable_shared_from_this<LinkConnection> {
 public:
  using FrameHandler = std::function<void(LinkConnection& connection, LinkFrame frame)>;
  // `fault` says what went wrong; nothing when the interface or the host ended the connection in order.
  using ClosedHandler = std::function<void(LinkConnection& connection, const std::optional<std::string>& fault)>;

  // Takes a connected, non-blocking stream socket and starts reading it.
  static std::shared_ptr<LinkConnection> adopt(UniqueFd socket, std::shared_ptr<IncomingBudget> budget,
                                               FrameHandler onFrame, ClosedHandler onClosed);

  LinkConnection(const LinkConnection&) = delete;
  LinkConnection& operator=(const LinkConnection&) = delete;
  ~LinkConnection();

  // Queues `bytes` (whole frames) behind what is already waiting.
  void write(std::span<const std::uint8_t> bytes);
  // Closes the socket and reports `fault` to the closed handler; no-op once closed.
  void close(const std::optional<std::string>& fault = std::nullopt);
  bool isOpen() const { return socket_.valid(); }

 private:
  struct Token {};

 public:
  // For make_shared in adopt() only: the Token keeps everyone else out.
  LinkConnection(Token, UniqueFd socket, std::shared_ptr<IncomingBudget> budget, FrameHandler onFrame,
                 ClosedHandler onClosed);

 private:
  static gboolean onReadable(gint fd, GIOCondition condition, gpointer self);
  static gboolean onWritable(gint fd, GIOCondition condition, gpointer self);
  void readAvailable();
  void deliverFrames();
  void flush();
  void removeSources();

  UniqueFd socket_;
  FrameHandler onFrame_;
  ClosedHandler onClosed_;
  std::shared_ptr<IncomingBudget> budget_;
  std::size_t budgetShare_ = 0;
  FrameReader reader_;
  std::vector<std::uint8_t> outgoing_;
  std::size_t outgoingStart_ = 0;
  guint readSource_ = 0;
  guint writeSource_ = 0;
};

}  // namespace quillon
