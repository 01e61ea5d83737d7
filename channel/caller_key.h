// CallerKey: who sent a call, as far as the messenger can tell: an opaque token
// of the connection it came on. The commands that queue work by caller keep one
// caller's calls in order with it, and pass over the work of a caller that has
// left.
//
// Contract: copyable, compared by identity. Keys made from the same owner are
// equal, and ordered alike by Less, for as long as any copy lives, even after
// the owner is gone. A default key stands for a caller that the messenger does
// not tell apart (an in-process caller, a test): all default keys are one
// caller, which never leaves.
#pragma once

#include <memory>
#include <utility>

namespace quillon {

class CallerKey {
 public:
  CallerKey() = default;
  // `owner` lives as long as the caller is there to be answered.
  explicit CallerKey(std::weak_ptr<const void> owner) : owner_(std::move(owner)) {}

  // Whether the caller has left: its owner is gone.
  bool gone() const { return hasOwner() && owner_.expired(); }

  struct Less {
    bool operator()(const CallerKey& a, const CallerKey& b) const { return a.owner_.owner_before(b.owner_); }
  };
  friend bool operator==(const CallerKey& a, const CallerKey& b) { return !Less{}(a, b) && !Less{}(b, a); }

 private:
  bool hasOwner() const { return *this != CallerKey(); }

  std::weak_ptr<const void> owner_;
};

}  // namespace quillon
