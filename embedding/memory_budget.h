// MemoryBudget: how many bytes all interface connections together may hold in
// one direction: incoming (the room of the frames under way and what a read
// brought beyond them) or outgoing (answers their clients have not yet taken).
//
// Contract: main thread only. Each connection holds a Share of each budget and
// moves it only through resize(). When a share would take the total past the
// limit, room is made by closing the holder of the largest share, the asking
// one counted at the size it asks for: another holder as long as one holds
// more, else the asking one (of equal others, the oldest goes first). So a
// newcomer with a small frame is served, and whoever holds the most is
// closed. A holder closed must give its share back (resize to 0, or destroy
// it) before its close returns.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace quillon {

// Four frames of the largest size in each direction.
inline constexpr std::size_t kIncomingBudget = 256u * 1024u * 1024u;
inline constexpr std::size_t kOutgoingBudget = 256u * 1024u * 1024u;

class MemoryBudget {
 public:
  class Share {
   public:
    // `close` closes the holder when another share needs the room.
    Share(std::shared_ptr<MemoryBudget> budget, std::function<void()> close);
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;
    ~Share();

    // Growing may close the holders of larger shares first; it fails when this
    // share would be the largest, after closing its own holder. Shrinking never fails.
    bool resize(std::size_t wanted);
    std::size_t size() const { return size_; }

   private:
    std::shared_ptr<MemoryBudget> budget_;
    std::function<void()> close_;
    std::size_t size_ = 0;
  };

  explicit MemoryBudget(std::size_t limit) : limit_(limit) {}

  std::size_t limit() const { return limit_; }
  std::size_t used() const { return used_; }

 private:
  Share* largestBesides(const Share& asking) const;

  std::size_t limit_;
  std::size_t used_ = 0;
  std::vector<Share*> shares_;  // In the order they came.
};

}  // namespace quillon
