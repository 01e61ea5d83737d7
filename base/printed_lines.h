// The host's standard error and standard output, each behind a LineLimiter:
// the way every diagnostic line leaves the host.
//
//   standardErrorLines().print("dropped interface connections",
//                              "quillon-host: dropped an interface connection: " + reason);
//
// Contract: any thread may print, at any time until the process ends (the two
// limiters are never destroyed, so a worker thread may still print while the
// host ends). A line is written as one line (line breaks within it, which an
// error text of a library may hold, become blanks) and flushed at once, so
// that the lines keep their order with the output of the tools the host runs.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "base/line_limiter.h"

namespace quillon {

namespace printed_lines_detail {

inline void writeLine(std::FILE* stream, std::string_view line) {
  std::string single(line);
  std::replace_if(single.begin(), single.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  single.push_back('\n');
  std::fwrite(single.data(), 1, single.size(), stream);
  std::fflush(stream);
}

}  // namespace printed_lines_detail

inline LineLimiter& standardErrorLines() {
  static LineLimiter* const lines =
      new LineLimiter([](std::string_view line) { printed_lines_detail::writeLine(stderr, line); });
  return *lines;
}

inline LineLimiter& standardOutputLines() {
  static LineLimiter* const lines =
      new LineLimiter([](std::string_view line) { printed_lines_detail::writeLine(stdout, line); });
  return *lines;
}

}  // namespace quillon
