// LinkConnection: the host's end of one connected interface process.
//
// Contract: lives in a shared_ptr held by its owner (the messenger); replies
// hold it weakly, so an answer that comes after the client has left is dropped.
// It never blocks: incoming bytes are kept until a frame is complete, outgoing
// bytes until the socket takes them, both driven by GLib sources on the default
// main context.
//
// Turns: in each turn of the main loop it hands at most kFramesPerTurn
// complete frames to the frame handler, one at a time, in arrival order.
// Frames left over make its source ready again for the next turn, and it reads
// nothing more until they are handed on. GLib dispatches every ready source of
// one priority in each turn, so the connections take turns: one that keeps
// sending delays another's frame by one turn at most.
//
// Memory: what it holds of incoming bytes (the reader's capacity) is its share
// of the incoming budget, what it holds of unsent bytes its share of the
// outgoing one (see MemoryBudget). When either budget closes it, the fault
// says which.
//
// A framing error, the end of the stream or a socket error closes the
// connection; the closed handler is then called exactly once, and no handler
// is called after it.
#pragma once

#include <glib.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/unique_fd.h"
#include "embedding/link_frame.h"
#include "embedding/memory_budget.h"

namespace quillon {

class LinkConnection : public std::enable_shared_from_this<LinkConnection> {
 public:
  // A handful: the cost of a turn of the main loop is spread over a few frames,
  // and another connection's call waits for a few cheap calls at most.
  static constexpr std::size_t kFramesPerTurn = 8;

  struct Budgets {
    std::shared_ptr<MemoryBudget> incoming;
    std::shared_ptr<MemoryBudget> outgoing;
  };

  using FrameHandler = std::function<void(LinkConnection& connection, LinkFrame frame)>;
  // `fault` says what went wrong; nothing when the interface or the host ended the connection in order.
  using ClosedHandler = std::function<void(LinkConnection& connection, const std::optional<std::string>& fault)>;

  // Takes a connected, non-blocking stream socket and starts reading it.
  static std::shared_ptr<LinkConnection> adopt(UniqueFd socket, const Budgets& budgets, FrameHandler onFrame,
                                               ClosedHandler onClosed);

  LinkConnection(const LinkConnection&) = delete;
  LinkConnection& operator=(const LinkConnection&) = delete;
  ~LinkConnection();

  // Sends `bytes` (whole frames) behind what is already waiting.
  void write(std::span<const std::uint8_t> bytes);
  // Closes the socket, gives back everything it holds and reports `fault` to
  // the closed handler; no-op once closed.
  void close(const std::optional<std::string>& fault = std::nullopt);
  bool isOpen() const { return socket_.valid(); }

 private:
  struct Token {};

 public:
  // For make_shared in adopt() only: the Token keeps everyone else out.
  LinkConnection(Token, UniqueFd socket, const Budgets& budgets, FrameHandler onFrame, ClosedHandler onClosed);

 private:
  static gboolean onReadable(gint fd, GIOCondition condition, gpointer self);
  static gboolean onWritable(gint fd, GIOCondition condition, gpointer self);
  void takeTurn();
  void readAvailable();
  std::size_t sendNow(std::span<const std::uint8_t> bytes);
  bool keepUnsent(std::span<const std::uint8_t> bytes);
  void flush();
  void giveWay(const std::string& fault);
  void removeSources();

  UniqueFd socket_;
  FrameHandler onFrame_;
  ClosedHandler onClosed_;
  FrameReader reader_;
  bool framesLeft_ = false;  // The last turn left complete frames in the reader.
  std::vector<std::uint8_t> unsent_;
  std::size_t unsentStart_ = 0;
  MemoryBudget::Share incomingShare_;
  MemoryBudget::Share outgoingShare_;
  guint readSource_ = 0;
  guint writeSource_ = 0;
};

}  // namespace quillon
