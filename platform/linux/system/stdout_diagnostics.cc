#include "platform/linux/system/stdout_diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace quillon {

void StdoutDiagnostics::printLine(std::string_view line) {
  // An error text from a library may hold line breaks; one diagnostic stays one line.
  std::string single(line);
  std::replace_if(single.begin(), single.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  single.push_back('\n');
  std::fwrite(single.data(), 1, single.size(), stdout);
  std::fflush(stdout);
}

}  // namespace quillon
