// OnceCallback<R(Args...)>: a move-only callable that runs at most once, for
// every one-shot answer in the host (a call's reply, a message's reply, a
// store's completion, a deferred job, the work of a call on a worker).
//
// Contract: running consumes the callback: the call operator is
// rvalue-qualified, so the code reads `std::move(done)(...)`, and copies are
// deleted, so nothing is answered twice. Running an empty or spent callback is
// a bug in our code, never input: it fails a CHECK.
// Whoever holds a callback owns the duty to run it. Where somebody waits for
// the answer, the callback is made with an `IfDropped` rule, which runs it
// with a stand-in answer when it is destroyed unrun, so that nobody waits
// forever; without one, dropping it runs nothing.
#pragma once

#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>

#include "base/check.h"

namespace quillon {

template <typename Signature>
class OnceCallback;

template <typename R, typename... Args>
class OnceCallback<R(Args...)> {
 public:
  // Answers a callback that is being destroyed unrun; it gets the callback
  // without its rule, and must run it (a result is dropped).
  using IfDropped = void (*)(OnceCallback unrun);

  OnceCallback() = default;
  // Implicit, so that a lambda passes wherever a callback is expected.
  template <typename F>
    requires(!std::derived_from<std::remove_cvref_t<F>, OnceCallback> &&
             std::is_invocable_r_v<R, std::decay_t<F>, Args...>)
  OnceCallback(F&& run, IfDropped ifDropped = nullptr)
      : callable_(std::make_unique<Holder<std::decay_t<F>>>(std::forward<F>(run))), ifDropped_(ifDropped) {}

  OnceCallback(OnceCallback&& other) noexcept
      : callable_(std::move(other.callable_)), ifDropped_(std::exchange(other.ifDropped_, nullptr)) {}
  OnceCallback& operator=(OnceCallback&& other) noexcept {
    if (this != &other) {
      dropIfUnrun();
      callable_ = std::move(other.callable_);
      ifDropped_ = std::exchange(other.ifDropped_, nullptr);
    }
    return *this;
  }
  OnceCallback(const OnceCallback&) = delete;
  OnceCallback& operator=(const OnceCallback&) = delete;
  ~OnceCallback() { dropIfUnrun(); }

  // Whether the callback still has to run.
  explicit operator bool() const { return callable_ != nullptr; }

  R operator()(Args... args) && {
    CHECK(callable_ != nullptr);  // a one-shot callback runs once
    ifDropped_ = nullptr;
    return std::exchange(callable_, nullptr)->run(std::forward<Args>(args)...);
  }

 private:
  struct Callable {
    virtual ~Callable() = default;
    virtual R run(Args... args) = 0;
  };
  template <typename F>
  struct Holder final : Callable {
    explicit Holder(F function) : function_(std::move(function)) {}
    R run(Args... args) override { return std::move(function_)(std::forward<Args>(args)...); }
    F function_;
  };

  void dropIfUnrun() {
    const IfDropped ifDropped = std::exchange(ifDropped_, nullptr);
    if (callable_ && ifDropped) ifDropped(OnceCallback(std::move(callable_)));
  }
  explicit OnceCallback(std::unique_ptr<Callable> callable) : callable_(std::move(callable)) {}

  std::unique_ptr<Callable> callable_;
  IfDropped ifDropped_ = nullptr;
};

}  // namespace quillon
