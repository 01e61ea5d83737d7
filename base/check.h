// CHECK(condition): a precondition the host cannot go on without, checked in
// every build type. When it does not hold, the condition and where it was
// checked are printed to standard error and the process aborts, so that a
// programming error stops where it happened instead of corrupting what
// follows. Input from outside (the interface, the environment, a tool's
// output) is never checked this way: it is refused with an answer.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace quillon::internal {

// Where, as __FILE__, __LINE__ and __func__ say it: Clang 14 has no
// std::source_location.
[[noreturn]] inline void checkFailed(const char* condition, const char* file, int line, const char* function) {
  std::fprintf(stderr, "quillon-host: CHECK failed: %s at %s:%d in %s\n", condition, file, line, function);
  std::abort();
}

}  // namespace quillon::internal

#define CHECK(condition)                                                           \
  do {                                                                             \
    if (!(condition)) [[unlikely]] {                                               \
      ::quillon::internal::checkFailed(#condition, __FILE__, __LINE__, __func__);  \
    }                                                                              \
  } while (false)
