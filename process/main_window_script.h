// The script of the main-window handle lookup: it asks the desktop's
// scripting service for the process with a unix id and returns that id.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

// Line 1 and line 2 up to the blank after "is"; the id's decimal text follows.
inline constexpr std::string_view kMainWindowScriptHead =
    "tell application \"System Events\"\n"
    "    set pidList to every process whose unix id is ";

// From the line feed that ends line 2 to the end of line 8, with no final line feed.
inline constexpr std::string_view kMainWindowScriptTail =
    "\n"
    "    if length of pidList is greater than 0 then\n"
    "        return unix id of item 1 of pidList\n"
    "    else\n"
    "        return \"\"\n"
    "    end if\n"
    "end tell";

std::string mainWindowHandleScript(std::int64_t processId);

}  // namespace quillon
