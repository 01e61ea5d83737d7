#include "embedding/memory_budget.h"

#include <algorithm>
#include <utility>

namespace quillon {

MemoryBudget::Share::Share(std::shared_ptr<MemoryBudget> budget, std::function<void()> close)
    : budget_(std::move(budget)), close_(std::move(close)) {
  budget_->shares_.push_back(this);
}

MemoryBudget::Share::~Share() {
  budget_->used_ -= size_;
  std::erase(budget_->shares_, this);
}

bool MemoryBudget::Share::resize(std::size_t wanted) {
  MemoryBudget& budget = *budget_;
  if (wanted > size_ && wanted - size_ > budget.limit_ - budget.used_) {
    const Share* largest = budget.largestBesides(*this);
    const bool asking = largest == nullptr || largest->size_ <= wanted;
    // A copy: the holder, and its share with it, may be gone once it is closed.
    const std::function<void()> close = asking ? close_ : largest->close_;
    close();
    // The largest other share held more than this one grows by: its room is enough.
    if (asking || wanted - size_ > budget.limit_ - budget.used_) return false;
  }
  budget.used_ = budget.used_ - size_ + wanted;
  size_ = wanted;
  return true;
}

MemoryBudget::Share* MemoryBudget::largestBesides(const Share& asking) const {
  Share* largest = nullptr;
  for (Share* share : shares_) {
    if (share != &asking && (largest == nullptr || share->size() > largest->size())) largest = share;
  }
  return largest;
}

}  // namespace quillon
