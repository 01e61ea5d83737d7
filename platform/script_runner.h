// ScriptRunner: runs a script text on the desktop's scripting service and
// gives its result as text.
#pragma once

#include <optional>
#include <string>

#include "base/expected.h"

namespace quillon {

// Why a script gave no result.
struct ScriptFailure {
  enum class Kind {
    kNotMade,  // no script object could be made from the text
    kFailed,   // the run reported an error; `errorInformation` describes it
  };

  Kind kind = Kind::kNotMade;
  std::string errorInformation;

  friend bool operator==(const ScriptFailure&, const ScriptFailure&) = default;
};

class ScriptRunner {
 public:
  virtual ~ScriptRunner() = default;
  // The result's text form; nothing when the result has none.
  virtual Expected<std::optional<std::string>, ScriptFailure> run(const std::string& source) = 0;
};

}  // namespace quillon
