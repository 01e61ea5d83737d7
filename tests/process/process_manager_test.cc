// ProcessManager over fakes, and the readings of text it makes: ps's lists of
// ids, and names compared up to canonical equivalence.
#include "process/process_manager.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdint>
#include <limits>
#include <tuple>

#include "process/main_window_script.h"
#include "process/process_id_list.h"
#include "process/unicode_text.h"
#include "tests/process/fake_process_platform.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using testing::finishedRun;
using testing::notStartedRun;
using testing::ToolCall;
using Ids = std::vector<std::int64_t>;
using Calls = std::vector<ToolCall>;

constexpr auto kOutput = ToolRunner::Streams::kOutput;

class ProcessManagerTest : public ::testing::Test {
 protected:
  // The one answer of an operation that answers through a completion.
  template <typename Operation, typename Argument>
  ChannelReply answer(Operation operation, const Argument& argument) {
    testing::ReplyRecorder recorder;
    (manager.*operation)(argument, recorder.callback());
    EXPECT_EQ(recorder.replies().size(), 1u);
    return recorder.only();
  }

  testing::FakeProcessPlatform platform;
  ProcessManager manager{platform.environment()};
};

TEST_F(ProcessManagerTest, ProcessIdListIsEveryNumberLinePsPrintsWhateverItsExitStatus) {
  const std::pair<Expected<ToolRun>, Ids> cases[] = {
      {finishedRun("    PID\n      1\n     97\n"), {1, 97}},
      {finishedRun("PID\n4\n", 1), {4}},
      {finishedRun("PID\n1\n\xFF\n2\n"), {}},  // not UTF-8
      {notStartedRun(), {}},
  };
  for (const auto& [run, ids] : cases) {
    platform.tools.answers = {run};
    platform.tools.calls.clear();
    EXPECT_EQ(manager.getProcessIdList(), ids);
    EXPECT_EQ(platform.tools.calls, (Calls{{"/bin/ps", {"-e", "-o", "pid"}, kOutput}}));
  }
}

// The output is whatever ps's settings make of it; the exit status is not.
TEST_F(ProcessManagerTest, AliveExactlyWhenPsListedTheId) {
  const std::tuple<const char*, Expected<ToolRun>, bool> cases[] = {
      {"listed", finishedRun("    PID TTY          TIME CMD\n     42 ?        00:00:00 sleep\n"), true},
      {"listed under a PS_FORMAT without header", finishedRun("42\n"), true},
      {"listed, output not UTF-8", finishedRun("PID\n42 \xFF\n"), true},
      {"not listed: header only", finishedRun("    PID TTY          TIME CMD\n", 1), false},
      {"not listed, yet a line under the header", finishedRun("PID\n42\n", 1), false},
      {"killed by a signal", ToolRun{.output = {}, .waitStatus = SIGKILL}, false},
      {"tool not started", notStartedRun(), false},
  };
  for (const auto& [name, run, alive] : cases) {
    SCOPED_TRACE(name);
    platform.tools.answers = {run};
    platform.tools.calls.clear();
    EXPECT_EQ(manager.isAlive(42), alive);
    EXPECT_EQ(platform.tools.calls, (Calls{{"/bin/ps", {"-p", "42"}, kOutput}}));
  }
}

TEST_F(ProcessManagerTest, KillAndCloseWindowAnswerWhetherKillExitedWithZero) {
  const std::pair<Expected<ToolRun>, bool> cases[] = {{finishedRun(""), true}, {finishedRun("", 1), false}, {notStartedRun(), false}};
  for (const auto& [run, killed] : cases) {
    for (auto operation : {&ProcessManager::killProcess, &ProcessManager::closeWindow}) {
      platform.tools.answers = {run};
      platform.tools.calls.clear();
      EXPECT_EQ((manager.*operation)(2147483647), killed);
      EXPECT_EQ(platform.tools.calls, (Calls{{"/bin/kill", {"-9", "2147483647"}, kOutput}}));
    }
  }
}

// Ids that no process can have: group-wide ones, and 64-bit ones that procps
// would narrow to a group-wide or another process's 32-bit id.
TEST_F(ProcessManagerTest, ImpossibleIdsAnswerAsNoSuchProcessWithoutRunningATool) {
  for (const std::int64_t id : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-4321}, std::int64_t{1} << 31,
                                (std::int64_t{1} << 32) - 1, std::int64_t{1} << 32, (std::int64_t{1} << 32) + 1,
                                (std::int64_t{1} << 32) + 4321, INT64_MAX, INT64_MIN}) {
    SCOPED_TRACE(id);
    EXPECT_FALSE(manager.killProcess(id));
    EXPECT_FALSE(manager.closeWindow(id));
    EXPECT_FALSE(manager.isAlive(id));
    EXPECT_EQ(manager.getProcessName(id), "");
    EXPECT_EQ(manager.getProcessFileName(id), "");
    EXPECT_EQ(manager.getProcessLaunchArguments(id), "");
  }
  EXPECT_TRUE(platform.tools.calls.empty());
}

TEST_F(ProcessManagerTest, FieldsAreWhatPsPrintsForTheirKeywordTrimmedOrUnknown) {
  const std::pair<std::string (ProcessManager::*)(std::int64_t), const char*> operations[] = {
      {&ProcessManager::getProcessName, "comm="},
      {&ProcessManager::getProcessFileName, "args="},
      {&ProcessManager::getProcessLaunchArguments, "args="},
  };
  const std::pair<Expected<ToolRun>, std::string> cases[] = {
      {finishedRun("  sleep \n"), "sleep"},
      {finishedRun("/bin/sleep  1000  x\n"), "/bin/sleep  1000  x"},
      {finishedRun("", 1), ""},  // an id that is gone
      {finishedRun("caf\xE9\n"), "Unknown"},
      {notStartedRun(), "Unknown"},
  };
  for (const auto& [operation, keyword] : operations) {
    for (const auto& [run, field] : cases) {
      platform.tools.calls.clear();
      platform.tools.answers = {run};
      EXPECT_EQ((manager.*operation)(31), field);
      EXPECT_EQ(platform.tools.calls, (Calls{{"/bin/ps", {"-p", "31", "-o", keyword}, kOutput}}));
    }
  }
}

// Whole names up to canonical equivalence (UnicodeTextTest holds the cases of
// the comparison itself), in the order of the list.
TEST_F(ProcessManagerTest, ProcessesByNameMatchesWholeNames) {
  platform.applications.applications = {
      {"Caf\xC3\xA9", 10}, {std::nullopt, 11}, {"Finder", 12}, {"Cafe\xCC\x81", 13}, {"Finder", 14}, {"", 15},
  };
  const std::pair<std::string, Ids> cases[] = {
      {"Caf\xC3\xA9", {10, 13}}, {"Cafe\xCC\x81", {10, 13}}, {"Finder", {12, 14}}, {"Find", {}}, {"", {15}},
  };
  for (const auto& [name, ids] : cases) {
    EXPECT_EQ(answer(&ProcessManager::getProcessesByName, name),
              ChannelReply::success(processIdListValue(ids)));
  }
}

TEST_F(ProcessManagerTest, MainWindowHandleAnswersTheScriptsText) {
  using Kind = ScriptFailure::Kind;
  using Text = std::optional<std::string>;
  const ChannelReply notFound = ChannelReply::error("UNAVAILABLE", "Main window handle not found");
  const std::tuple<const char*, testing::FakeScriptRunner::Result, ChannelReply, std::vector<std::string>> cases[] = {
      {"process listed", Text("4242"), ChannelReply::success("4242"), {}},
      {"process not listed", Text(""), ChannelReply::success(""), {}},
      {"result without text", Text(), notFound, {}},
      {"result that is not UTF-8", Text("42\xFF"), notFound, {}},
      {"script not made", ScriptFailure{Kind::kNotMade, ""}, notFound, {}},
      {"script failed", ScriptFailure{Kind::kFailed, "{number = -1728}"}, notFound,
       {"AppleScript Error: {number = -1728}"}},
  };
  for (const auto& [name, result, reply, printed] : cases) {
    SCOPED_TRACE(name);
    platform.scripts.result = result;
    platform.scripts.sources.clear();
    platform.diagnostics.lines.clear();
    EXPECT_EQ(answer(&ProcessManager::getMainWindowHandle, std::int64_t{4242}), reply);
    EXPECT_EQ(platform.scripts.sources, std::vector<std::string>{mainWindowHandleScript(4242)});
    EXPECT_EQ(platform.diagnostics.lines, printed);
  }
}

WindowListEntry window(std::optional<std::int64_t> owner, std::optional<std::string> name) {
  return WindowListEntry{owner, std::move(name), std::nullopt};
}

TEST_F(ProcessManagerTest, MainWindowTitleIsTheFirstNamedWindowOfTheProcess) {
  using Windows = std::optional<std::vector<WindowListEntry>>;
  const ChannelReply notFound = ChannelReply::error("UNAVAILABLE", "Main window title not found");
  const std::tuple<const char*, Windows, ChannelReply, std::vector<std::string>> cases[] = {
      {"first of two named windows", std::vector{window(7, "Editor"), window(7, "Palette")},
       ChannelReply::success("Editor"), {}},
      {"unnamed, empty-named and not-UTF-8-named windows passed over",
       std::vector{window(7, std::nullopt), window(7, ""), window(7, "Caf\xE9"), window(7, "Fourth")},
       ChannelReply::success("Fourth"), {}},
      {"other processes' windows passed over",
       std::vector{window(8, "Other"), window(std::nullopt, "Ownerless"), window(7, "Own")},
       ChannelReply::success("Own"), {}},
      {"no window of the process", std::vector{window(8, "Other")}, notFound, {}},
      {"no list", std::nullopt, notFound, {"Error: Could not retrieve window list from Core Graphics."}},
  };
  for (const auto& [name, windows, reply, printed] : cases) {
    SCOPED_TRACE(name);
    platform.windows.windows = windows;
    platform.diagnostics.lines.clear();
    EXPECT_EQ(answer(&ProcessManager::getMainWindowTitle, std::int64_t{7}), reply);
    EXPECT_EQ(platform.diagnostics.lines, printed);
  }
}

TEST(ProcessIdListTest, ParsesStrictDecimals) {
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  const std::pair<std::string_view, std::optional<std::int64_t>> cases[] = {
      {"0", 0}, {"97", 97}, {"+42", 42}, {"-7", -7}, {"007", 7},
      {"9223372036854775807", kMax}, {"-9223372036854775808", kMin},
      {"9223372036854775808", std::nullopt}, {"-9223372036854775809", std::nullopt},
      {"18446744073709551616", std::nullopt}, {"", std::nullopt}, {"+", std::nullopt}, {"-", std::nullopt},
      {"+-5", std::nullopt}, {"--5", std::nullopt}, {"1 2", std::nullopt}, {"12a", std::nullopt},
      {"0x1F", std::nullopt}, {" 12", std::nullopt}, {"PID", std::nullopt},
      {"\xD9\xA3", std::nullopt},  // ARABIC-INDIC DIGIT THREE is not an ASCII digit
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(parseDecimal(text), value) << text;
}

TEST(ProcessIdListTest, KeepsEveryNumberLineInOrder) {
  const std::pair<std::string_view, std::vector<std::int64_t>> cases[] = {
      {"    PID\n      1\n     97\n", {1, 97}},
      {"+42\n-7\n", {42, -7}},
      {"+\n1 2\n12a\n0x1F\n5\n", {5}},               // malformed lines dropped
      {"3\n99999999999999999999\n4\n", {3, 4}},     // overflow dropped, neighbours kept
      {"\t 12 \t\n", {12}},
      {"\n\n   \n\t\n8\n\n", {8}},
      {"5\n6\n5\n", {5, 6, 5}},                     // duplicates stay in place
      {"PID\n10", {10}},                            // no final line feed
      {"10\r\n11\n", {11}},                         // carriage return is not trimmed
      {"", {}},
      {"  PID\n", {}},
  };
  for (const auto& [output, ids] : cases) EXPECT_EQ(parseProcessIdList(output), ids) << output;
}

TEST(UnicodeTextTest, DecodesOnlyWellFormedUtf8) {
  const std::pair<std::string_view, bool> cases[] = {
      {"", true}, {"sleep\n", true}, {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", true}, {std::string_view("a\0b", 3), true},
      {"\x80", false},              // lone continuation byte
      {"\xC0\xAF", false},          // overlong slash
      {"\xED\xA0\x80", false},      // encoded surrogate
      {"abc\xE2\x82", false},       // truncated at the end
      {"\xFF", false}, {"\xF4\x90\x80\x80", false},  // beyond U+10FFFF
  };
  for (const auto& [input, valid] : cases) {
    const auto decoded = decodeUtf8(std::vector<std::uint8_t>(input.begin(), input.end()));
    EXPECT_EQ(decoded, valid ? std::optional<std::string>(input) : std::nullopt) << ::testing::PrintToString(input);
  }
}

// Input, then the text with blanks trimmed, then with blanks and line breaks trimmed.
TEST(UnicodeTextTest, TrimsBlanksAndOptionallyLineBreaks) {
  const std::tuple<std::string_view, std::string_view, std::string_view> cases[] = {
      {"12", "12", "12"},
      {"\t 12 \t", "12", "12"},
      {" a  b ", "a  b", "a  b"},
      {" \t ", "", ""},
      {"\xC2\xA0" "12\xE3\x80\x80", "12", "12"},  // no-break and ideographic spaces are Zs
      {"12\n", "12\n", "12"},
      {"\r\v\f12\r\n", "\r\v\f12\r\n", "12"},
      {"\xC2\x85" "x", "\xC2\x85" "x", "x"},  // next line U+0085
      {"\xE2\x80\xA8x\xE2\x80\xA9", "\xE2\x80\xA8x\xE2\x80\xA9", "x"},  // line and paragraph separators
      {"\xE2\x80\x8Bx", "\xE2\x80\x8Bx", "\xE2\x80\x8Bx"},                // zero-width space is no white space
      {" \xC3\xA9t\xC3\xA9 ", "\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},
  };
  for (const auto& [input, blanksTrimmed, allTrimmed] : cases) {
    EXPECT_EQ(trimBlanks(input), blanksTrimmed);
    EXPECT_EQ(trimBlanksAndLineBreaks(input), allTrimmed);
  }
}

TEST(UnicodeTextTest, ComparesUpToCanonicalEquivalence) {
  const std::tuple<std::string_view, std::string_view, bool> cases[] = {
      {"Finder", "Finder", true},
      {"Caf\xC3\xA9", "Cafe\xCC\x81", true},             // precomposed against decomposed
      {"\xE2\x84\xAB", "\xC3\x85", true},                  // angstrom sign against A with ring
      {"a\xCC\xA3\xCC\x87", "a\xCC\x87\xCC\xA3", true},  // combining marks in either order
      {"finder", "Finder", false}, {"Finder ", "Finder", false}, {"Find", "Finder", false},
      {"\xEF\xAC\x81le", "file", false},  // a compatibility ligature is not canonical
      {"", "", true},
  };
  for (const auto& [a, b, equal] : cases) {
    EXPECT_EQ(canonicallyEqual(a, b), equal) << a << " " << b;
    EXPECT_EQ(canonicallyEqual(b, a), equal) << a << " " << b;
  }
}

}  // namespace
}  // namespace quillon
