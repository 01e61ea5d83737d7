// IncomingBudget: how many bytes of unfinished frames the host holds for all
// its interface connections together.
//
// Contract: shared by the messenger and the connections it adopts, on the main
// thread. Each holder keeps the size of its own share and changes it only
// through resize(); a share that is given back leaves room for the others.
#pragma once

#include <cstddef>

namespace quillon {

// Four frames of the largest size, as the output each client may leave unread.
inline constexpr std::size_t kIncomingBudget = 256u * 1024u * 1024u;

class IncomingBudget {
 public:
  explicit IncomingBudget(std::size_t limit = kIncomingBudget) : limit_(limit) {}

  // Moves a holder's share from `share` to `wanted`. Growing fails, and nothing
  // changes, when all shares together would pass the limit; shrinking never fails.
  bool resize(std::size_t& share, std::size_t wanted) {
    if (wanted > share && wanted - share > limit_ - used_) return false;
    used_ = used_ - share + wanted;
    share = wanted;
    return true;
  }

  std::size_t limit() const { return limit_; }
  std::size_t used() const { return used_; }

 private:
  std::size_t limit_;
  std::size_t used_ = 0;
};

}  // namespace quillon
