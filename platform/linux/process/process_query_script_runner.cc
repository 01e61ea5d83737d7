#include "platform/linux/process/process_query_script_runner.h"

#include <limits>
#include <regex>

#include "platform/linux/process/proc_process_table.h"

namespace quillon {
namespace {

// The query's shape; blanks at line starts are free, the list variable is any name.
const std::regex& processQuery() {
  static const std::regex query(
      "tell application \"System Events\"\n"
      "[ \t]*set ([A-Za-z][A-Za-z0-9_]*) to every process whose unix id is (-?[0-9]+)\n"
      "[ \t]*if length of \\1 is greater than 0 then\n"
      "[ \t]*return unix id of item 1 of \\1\n"
      "[ \t]*else\n"
      "[ \t]*return \"\"\n"
      "[ \t]*end if\n"
      "end tell\n?");
  return query;
}

bool processExists(const std::string& idText) {
  try {
    const long long id = std::stoll(idText);
    return id > 0 && id <= std::numeric_limits<pid_t>::max() && isUserSpaceProcess(static_cast<pid_t>(id));
  } catch (const std::out_of_range&) {
    return false;
  }
}

}  // namespace

Expected<std::optional<std::string>, ScriptFailure> ProcessQueryScriptRunner::run(const std::string& source) {
  std::smatch match;
  if (!std::regex_match(source, match, processQuery())) {
    return ScriptFailure{ScriptFailure::Kind::kFailed,
                         "{message = \"This host's script runner understands only the System Events process query "
                         "by unix id.\"; number = -2753}"};
  }
  const std::string idText = match[2].str();
  return std::optional(processExists(idText) ? std::to_string(std::stoll(idText)) : std::string());
}

}  // namespace quillon
