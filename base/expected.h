// Expected<T, E>: the result of an operation that can fail, either its value or
// what went wrong; Expected<void, E> for an operation that gives nothing but
// its success. The host's one way of reporting a failure: by default the error
// is a Failure, the reason in the words of the system that failed; callers that
// act on the kind of failure get an enum of their own as E. A value that may
// simply be absent (no resource directory, no window list) stays a
// std::optional: that is an answer, not a failure.
#pragma once

#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "base/check.h"

namespace quillon {

struct Failure {
  std::string reason;
  friend bool operator==(const Failure&, const Failure&) = default;
};

template <typename T, typename E = Failure>
class Expected {
  static_assert(!std::is_same_v<T, E>, "a value and an error of one type cannot be told apart");

 public:
  // Implicit both ways, so that `return value;` and `return Failure{...};`
  // read as what they are.
  template <typename U = T>
    requires(std::is_constructible_v<T, U> && !std::is_same_v<std::remove_cvref_t<U>, Expected> &&
             !std::is_same_v<std::remove_cvref_t<U>, E>)
  Expected(U&& value) : result_(std::in_place_index<0>, std::forward<U>(value)) {}
  Expected(E error) : result_(std::in_place_index<1>, std::move(error)) {}

  // No conversion to bool: `if (!answer)` beside `*answer` on an
  // Expected<bool> reads as the value, and is not.
  bool hasValue() const { return result_.index() == 0; }

  // Valid only for the matching kind: the other fails a CHECK.
  T& value() & {
    CHECK(hasValue());
    return std::get<0>(result_);
  }
  const T& value() const& {
    CHECK(hasValue());
    return std::get<0>(result_);
  }
  T&& value() && {
    CHECK(hasValue());
    return std::get<0>(std::move(result_));
  }
  const E& error() const {
    CHECK(!hasValue());
    return std::get<1>(result_);
  }

  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T&& operator*() && { return std::move(*this).value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }

  friend bool operator==(const Expected&, const Expected&) = default;

 private:
  std::variant<T, E> result_;
};

template <typename E>
class Expected<void, E> {
 public:
  Expected() = default;
  Expected(E error) : error_(std::move(error)) {}

  bool hasValue() const { return !error_; }
  // Valid only for a failure: a success fails a CHECK.
  const E& error() const {
    CHECK(!hasValue());
    return *error_;
  }

  friend bool operator==(const Expected&, const Expected&) = default;

 private:
  std::optional<E> error_;
};

}  // namespace quillon
