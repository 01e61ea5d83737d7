// ScriptRunner: runs a script text on the desktop's scripting service and
// gives its result as text.
#pragma once

#include <optional>
#include <string>

namespace quillon {

struct ScriptOutcome {
  enum class Kind {
    kNotMade,  // no script object could be made from the text
    kFailed,   // the run reported an error; `errorInformation` describes it
    kResult,   // the run gave a result; `text` is its text form, if it has one
  };

  Kind kind = Kind::kNotMade;
  std::string errorInformation;
  std::optional<std::string> text;
};

class ScriptRunner {
 public:
  virtual ~ScriptRunner() = default;
  virtual ScriptOutcome run(const std::string& source) = 0;
};

}  // namespace quillon
