// CHECK(condition): a precondition the host cannot go on without, checked in
// every build type. When it does not hold, the condition and where it was
// checked are printed to standard error and the process aborts, so that a
// programming error stops where it happened instead of corrupting what
// follows. Input from outside (the interface, the environment, a tool's
// output) is never checked this way: it is refused with an answer.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <source_location>

namespace quillon::internal {

[[noreturn]] inline void checkFailed(const char* condition, std::source_location where) {
  std::fprintf(stderr, "quillon-host: CHECK failed: %s at %s:%u in %s\n", condition, where.file_name(),
               static_cast<unsigned>(where.line()), where.function_name());
  std::abort();
}

}  // namespace quillon::internal

#define CHECK(condition)                                                                  \
  do {                                                                                    \
    if (!(condition)) [[unlikely]] {                                                      \
      ::quillon::internal::checkFailed(#condition, std::source_location::current());     \
    }                                                                                     \
  } while (false)
