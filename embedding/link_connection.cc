#include "embedding/link_connection.h"

#include <glib-unix.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace quillon {

namespace {

constexpr std::size_t kReadChunk = 64 * 1024;

std::string budgetFault(const char* held, const std::shared_ptr<MemoryBudget>& budget) {
  return std::string(held) + " of all interface connections would pass " + std::to_string(budget->limit() >> 20) +
         " MiB, and this one held the most";
}

}  // namespace

std::shared_ptr<LinkConnection> LinkConnection::adopt(UniqueFd socket, const Budgets& budgets, FrameHandler onFrame,
                                                      ClosedHandler onClosed) {
  return std::make_shared<LinkConnection>(Token{}, std::move(socket), budgets, std::move(onFrame),
                                          std::move(onClosed));
}

LinkConnection::LinkConnection(Token, UniqueFd socket, const Budgets& budgets, FrameHandler onFrame,
                               ClosedHandler onClosed)
    : socket_(std::move(socket)),
      onFrame_(std::move(onFrame)),
      onClosed_(std::move(onClosed)),
      incomingShare_(budgets.incoming,
                     [this, fault = budgetFault("unfinished frames", budgets.incoming)] { giveWay(fault); }),
      outgoingShare_(budgets.outgoing,
                     [this, fault = budgetFault("unread answers", budgets.outgoing)] { giveWay(fault); }) {
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
  connection->takeTurn();
  if (!connection->isOpen()) {
    connection->readSource_ = 0;  // Removed by returning G_SOURCE_REMOVE.
    return G_SOURCE_REMOVE;
  }
  return G_SOURCE_CONTINUE;
}

gboolean LinkConnection::onWritable(gint, GIOCondition, gpointer self) {
  auto connection = static_cast<LinkConnection*>(self)->shared_from_this();
  connection->flush();
  if (!connection->isOpen() || connection->unsentStart_ == connection->unsent_.size()) {
    connection->writeSource_ = 0;
    return G_SOURCE_REMOVE;
  }
  return G_SOURCE_CONTINUE;
}

void LinkConnection::takeTurn() {
  if (!framesLeft_) readAvailable();
  std::size_t handed = 0;
  while (isOpen() && handed < kFramesPerTurn) {
    FrameParse parse = reader_.next();
    if (parse.status == FrameParse::Status::incomplete) break;
    if (parse.status == FrameParse::Status::malformed) return close("framing error: " + parse.error);
    onFrame_(*this, std::move(parse.frame));
    ++handed;
  }
  if (!isOpen()) return;
  incomingShare_.resize(reader_.capacity());
  // The frames left over wait for the next turn, after the other connections' turns.
  framesLeft_ = handed == kFramesPerTurn && reader_.frameWaiting();
  g_source_set_ready_time(g_main_context_find_source_by_id(nullptr, readSource_), framesLeft_ ? 0 : -1);
}

void LinkConnection::readAvailable() {
  std::uint8_t chunk[kReadChunk];
  const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, MSG_DONTWAIT);
  if (count == 0) return close();
  if (count < 0) {
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return;
    return close(std::string("read failed: ") + std::strerror(errno));
  }
  const std::span<const std::uint8_t> bytes(chunk, static_cast<std::size_t>(count));
  if (!incomingShare_.resize(reader_.roomFor(bytes))) return;  // Closed by the budget.
  reader_.append(bytes);
}

void LinkConnection::write(std::span<const std::uint8_t> bytes) {
  if (!isOpen()) return;
  // Nothing waits: straight to the socket, and only what it does not take is kept.
  if (unsentStart_ == unsent_.size()) {
    const std::size_t sent = sendNow(bytes);
    if (!isOpen()) return;
    bytes = bytes.subspan(sent);
  }
  if (bytes.empty() || !keepUnsent(bytes)) return;
  if (writeSource_ == 0) writeSource_ = g_unix_fd_add(socket_.get(), G_IO_OUT, onWritable, this);
}

// Sends what the socket takes now; closes the connection when it fails.
std::size_t LinkConnection::sendNow(std::span<const std::uint8_t> bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count =
        ::send(socket_.get(), bytes.data() + sent, bytes.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0) {
      if (errno == EINTR) continue;
      if (errno != EAGAIN && errno != EWOULDBLOCK) close(std::string("write failed: ") + std::strerror(errno));
      break;
    }
    sent += static_cast<std::size_t>(count);
  }
  return sent;
}

bool LinkConnection::keepUnsent(std::span<const std::uint8_t> bytes) {
  if (unsent_.size() + bytes.size() > unsent_.capacity()) {
    // Room for twice what waits, so that a client that reads slowly does not
    // make every answer a copy of everything before it.
    const std::size_t waiting = unsent_.size() - unsentStart_;
    const std::size_t room = std::max(waiting + bytes.size(), 2 * waiting);
    if (!outgoingShare_.resize(room)) return false;  // Closed by the budget.
    std::vector<std::uint8_t> rebuilt;
    rebuilt.reserve(room);
    rebuilt.insert(rebuilt.end(), unsent_.begin() + static_cast<std::ptrdiff_t>(unsentStart_), unsent_.end());
    unsent_ = std::move(rebuilt);
    unsentStart_ = 0;
  }
  unsent_.insert(unsent_.end(), bytes.begin(), bytes.end());
  return true;
}

void LinkConnection::flush() {
  const std::size_t sent = sendNow(std::span<const std::uint8_t>(unsent_).subspan(unsentStart_));
  if (!isOpen()) return;
  unsentStart_ += sent;
  if (unsentStart_ < unsent_.size()) return;
  unsent_ = std::vector<std::uint8_t>();
  unsentStart_ = 0;
  outgoingShare_.resize(0);
}

// The budget needs this connection's room for another.
void LinkConnection::giveWay(const std::string& fault) {
  const auto self = shared_from_this();  // The closed handler may drop the owner's reference.
  close(fault);
}

void LinkConnection::close(const std::optional<std::string>& fault) {
  if (!isOpen()) return;
  // Inside a source callback the source is removed by its return value;
  // g_source_remove() of the running source is harmless as well.
  removeSources();
  socket_.reset();
  reader_ = FrameReader();
  framesLeft_ = false;
  unsent_ = std::vector<std::uint8_t>();
  unsentStart_ = 0;
  incomingShare_.resize(0);
  outgoingShare_.resize(0);
  if (auto onClosed = std::exchange(onClosed_, nullptr)) onClosed(*this, fault);
}

}  // namespace quillon
