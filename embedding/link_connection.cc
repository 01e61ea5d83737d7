#include "embedding/link_connection.h"

#include <glib-unix.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace quillon {

namespace {

constexpr std::size_t kReadChunk = 64 * 1024;
// A client that stops reading must not make the host hold its messages without
// end; beyond this it is dropped.
constexpr std::size_t kMaxPendingOutput = 4 * std::size_t{kMaxFrameLength};

}  // namespace

std::shared_ptr<LinkConnection> LinkConnection::adopt(UniqueFd socket, std::shared_ptr<IncomingBudget> budget,
                                                      FrameHandler onFrame, ClosedHandler onClosed) {
  return std::make_shared<LinkConnection>(Token{}, std::move(socket), std::move(budget), std::move(onFrame),
                                          std::move(onClosed));
}

LinkConnection::LinkConnection(Token, UniqueFd socket, std::shared_ptr<IncomingBudget> budget, FrameHandler onFrame,
                               ClosedHandler onClosed)
    : socket_(std::move(socket)),
      onFrame_(std::move(onFrame)),
      onClosed_(std::move(onClosed)),
      budget_(std::move(budget)) {
  readSource_ = g_unix_fd_add(socket_.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), onReadable, this);
}

LinkConnection::~LinkConnection() { removeSources(); }

void LinkConnection::removeSources() {
  if (readSource_ != 0) g_source_remove(std::exchange(readSource_, 0u));
  if (writeSource_ != 0) g_source_remove(std::exchange(writeSource_, 0u));
}

gboolean LinkConnection::onReadable(gint, GIOCondition, gpointer self) {
  // The handlers may drop the owner's reference; stay alive until we return.
  auto connection = static_cast<LinkConnection*>(self)->shared_from_this();
  connection->readAvailable();
  if (!connection->isOpen()) {
    connection->readSource_ = 0;  // Removed by returning G_SOURCE_REMOVE.
    return G_SOURCE_REMOVE;
  }
  return G_SOURCE_CONTINUE;
}

gboolean LinkConnection::onWritable(gint, GIOCondition, gpointer self) {
  auto connection = static_cast<LinkConnection*>(self)->shared_from_this();
  connection->flush();
  if (!connection->isOpen() || connection->outgoingStart_ == connection->outgoing_.size()) {
    connection->writeSource_ = 0;
    return G_SOURCE_REMOVE;
  }
  return G_SOURCE_CONTINUE;
}

void LinkConnection::readAvailable() {
  std::uint8_t chunk[kReadChunk];
  const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, MSG_DONTWAIT);
  if (count == 0) return close();
  if (count < 0) {
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return;
    return close(std::string("read failed: ") + std::strerror(errno));
  }
  if (!budget_->resize(budgetShare_, reader_.buffered() + static_cast<std::size_t>(count))) {
    return close("unfinished frames of all interface connections would pass " +
                 std::to_string(budget_->limit() >> 20) + " MiB");
  }
  reader_.append(std::span<const std::uint8_t>(chunk, static_cast<std::size_t>(count)));
  deliverFrames();
  if (isOpen()) budget_->resize(budgetShare_, reader_.buffered());
}

void LinkConnection::deliverFrames() {
  while (isOpen()) {
    FrameParse parse = reader_.next();
    if (parse.status == FrameParse::Status::incomplete) return;
    if (parse.status == FrameParse::Status::malformed) return close("framing error: " + parse.error);
    onFrame_(*this, std::move(parse.frame));
  }
}

void LinkConnection::write(std::span<const std::uint8_t> bytes) {
  if (!isOpen()) return;
  if (outgoing_.size() - outgoingStart_ + bytes.size() > kMaxPendingOutput) {
    return close("the interface does not read its messages");
  }
  if (outgoingStart_ == outgoing_.size()) {
    outgoing_.clear();
    outgoingStart_ = 0;
  }
  outgoing_.insert(outgoing_.end(), bytes.begin(), bytes.end());
  if (writeSource_ != 0) return;  // The socket is full; the write source goes on when it drains.
  flush();
  if (isOpen() && outgoingStart_ < outgoing_.size()) {
    writeSource_ = g_unix_fd_add(socket_.get(), G_IO_OUT, onWritable, this);
  }
}

void LinkConnection::flush() {
  while (isOpen() && outgoingStart_ < outgoing_.size()) {
    const ssize_t count = ::send(socket_.get(), outgoing_.data() + outgoingStart_, outgoing_.size() - outgoingStart_,
                                 MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN || errno == EWOULDBLOCK) return;
      return close(std::string("write failed: ") + std::strerror(errno));
    }
    outgoingStart_ += static_cast<std::size_t>(count);
  }
}

void LinkConnection::close(const std::optional<std::string>& fault) {
  if (!isOpen()) return;
  // Inside a source callback the source is removed by its return value;
  // g_source_remove() of the running source is harmless as well.
  removeSources();
  socket_.reset();
  outgoing_.clear();
  outgoingStart_ = 0;
  budget_->resize(budgetShare_, 0);
  if (auto onClosed = std::exchange(onClosed_, nullptr)) onClosed(*this, fault);
}

}  // namespace quillon
