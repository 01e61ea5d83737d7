// The "process::" catalogue over fakes: the arguments it takes, and what
// ProcessManager answers for each command, exactly (ps's output read line by
// line among them); and the text it reads: UTF-8, blanks and line breaks, and
// names compared up to canonical equivalence.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdint>
#include <limits>
#include <tuple>

#include "commands/command_dispatcher.h"
#include "commands/process_commands.h"
#include "process/process_manager.h"
#include "process/unicode_text.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/fake_tool_runner.h"
#include "tests/support/fake_window_list.h"
#include "tests/support/inline_background_work.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using testing::argumentMap;
using testing::finishedRun;
using testing::notStartedRun;
using testing::ToolCall;
using Ids = std::vector<std::int64_t>;
using Calls = std::vector<ToolCall>;

constexpr auto kOutput = ToolRunner::Streams::kOutput;
// Each tool runs under its own documented limit.
constexpr std::chrono::milliseconds kPsLimit = std::chrono::seconds(10);
constexpr std::chrono::milliseconds kKillLimit = std::chrono::seconds(5);
constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
constexpr auto kMin = std::numeric_limits<std::int64_t>::min();

struct FakeRunningApplications final : RunningApplications {
  std::vector<RunningApplication> list() override { return applications; }
  std::vector<RunningApplication> applications;
};

struct FakeProcessEnds final : ProcessEnds {
  void waitForEnd(std::int64_t processId, std::chrono::milliseconds limit) override {
    waits.emplace_back(processId, limit);
  }
  std::vector<std::pair<std::int64_t, std::chrono::milliseconds>> waits;
};

struct FakeMainWindowHandles final : MainWindowHandles {
  using Result = Expected<std::optional<std::int64_t>>;
  Result handleOf(std::int64_t processId) override {
    asked.push_back(processId);
    return result;
  }
  Result result = Failure{};
  Ids asked;
};

// The catalogue over a ProcessManager over fakes, each of which records what
// it was asked and answers what the test set.
class ProcessCommandsTest : public ::testing::Test {
 protected:
  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    return testing::answerOf([&](ReplyCallback reply) { dispatcher.handle({method, std::move(arguments)}, std::move(reply)); });
  }
  ChannelReply call(const std::string& method, std::int64_t processId) {
    return call(method, argumentMap({{"processId", processId}, {"extra", "ignored"}}));
  }
  // The command's answer when the tool answers `run`, after checking the one run it made.
  ChannelReply callRunning(const std::string& method, std::int64_t processId, const Expected<ToolRun>& run,
                           const ToolCall& expected) {
    tools.answers = {run};
    tools.calls.clear();
    const ChannelReply reply = call(method, processId);
    EXPECT_EQ(tools.calls, Calls{expected}) << method;
    return reply;
  }

  testing::FakeToolRunner tools;
  FakeRunningApplications applications;
  FakeMainWindowHandles handles;
  testing::FakeWindowList windows;
  testing::CapturingDiagnostics diagnostics;
  FakeProcessEnds ends;
  ProcessManager manager{ProcessEnvironment{tools, applications, handles, windows, diagnostics, ends}};
  testing::InlineBlockingWork work;
  CommandDispatcher dispatcher{processCommands([this]() -> ProcessManager& { return manager; }, work.blocking)};
};

TEST_F(ProcessCommandsTest, ProcessIdListIsEveryNumberLinePsPrintsWhateverItsExitStatusAndArguments) {
  const std::pair<Expected<ToolRun>, Ids> cases[] = {
      {finishedRun("    PID\n      1\n     97\n"), {1, 97}},
      {finishedRun("PID\n4\n", 1), {4}},
      {finishedRun("PID\n1\n\xFF\n2\n"), {}},  // not UTF-8
      {notStartedRun(), {}},
      {finishedRun("0\n+42\n-7\n007\n9223372036854775807\n-9223372036854775808\n"), {0, 42, -7, 7, kMax, kMin}},
      // Malformed lines dropped (ARABIC-INDIC DIGIT THREE is no ASCII digit).
      {finishedRun("+\n-\n+-5\n--5\n1 2\n12a\n0x1F\n\xD9\xA3\n5\n"), {5}},
      // Overflow dropped, neighbours kept.
      {finishedRun("3\n9223372036854775808\n-9223372036854775809\n18446744073709551616\n4\n"), {3, 4}},
      {finishedRun("\t 12 \t\n\n\n   \n\t\n8\n\n"), {12, 8}},
      {finishedRun("5\n6\n5\n"), {5, 6, 5}},                   // duplicates stay in place
      {finishedRun("PID\n10"), {10}},                            // no final line feed
      {finishedRun("10\r\n11\n"), {11}},                       // carriage return is not trimmed
      {finishedRun(""), {}}, {finishedRun("  PID\n"), {}},
  };
  for (const ChannelValue& sent : {ChannelValue(), ChannelValue("x"), argumentMap({{"processId", 3}})}) {
    for (const auto& [run, ids] : cases) {
      tools.answers = {run};
      tools.calls.clear();
      EXPECT_EQ(call("process::getProcessIdList", sent), ChannelReply::success(processIdListValue(ids)));
      EXPECT_EQ(tools.calls, (Calls{{"/bin/ps", {"-e", "-o", "pid"}, kOutput, kPsLimit}}));
    }
    EXPECT_EQ(call("process::getCurrentProcessId", sent), ChannelReply::success(std::int64_t{::getpid()}));
  }
}

// The output is whatever ps's settings make of it; the exit status is not.
TEST_F(ProcessCommandsTest, AliveExactlyWhenPsListedTheId) {
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
    EXPECT_EQ(callRunning("process::isAlive", 42, run, {"/bin/ps", {"-p", "42"}, kOutput, kPsLimit}), ChannelReply::success(alive))
        << name;
  }
}

// A kill that succeeded waits (a second at most) for its process to end.
TEST_F(ProcessCommandsTest, KillAndCloseWindowAnswerWhetherKillExitedWithZero) {
  const std::pair<Expected<ToolRun>, bool> cases[] = {{finishedRun(""), true}, {finishedRun("", 1), false}, {notStartedRun(), false}};
  for (const auto& [run, killed] : cases) {
    for (const char* method : {"process::killProcess", "process::closeWindow"}) {
      ends.waits.clear();
      EXPECT_EQ(callRunning(method, 2147483647, run, {"/bin/kill", {"-9", "2147483647"}, kOutput, kKillLimit}),
                ChannelReply::success(killed));
      using Waits = std::vector<std::pair<std::int64_t, std::chrono::milliseconds>>;
      const Waits waited = killed ? Waits{{2147483647, std::chrono::seconds(1)}} : Waits{};
      EXPECT_EQ(ends.waits, waited);
    }
  }
}

// Ids that no process can have: group-wide ones, and 64-bit ones that procps
// would narrow to a group-wide or another process's 32-bit id.
TEST_F(ProcessCommandsTest, ImpossibleIdsAnswerAsNoSuchProcessWithoutRunningATool) {
  for (const std::int64_t id : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-4321}, std::int64_t{1} << 31,
                                (std::int64_t{1} << 32) - 1, std::int64_t{1} << 32, (std::int64_t{1} << 32) + 1,
                                (std::int64_t{1} << 32) + 4321, INT64_MAX, INT64_MIN}) {
    for (const char* method : {"process::killProcess", "process::closeWindow", "process::isAlive"}) {
      EXPECT_EQ(call(method, id), ChannelReply::success(false)) << method << " " << id;
    }
    for (const char* method : {"process::getProcessName", "process::getProcessFileName", "process::getProcessLaunchArguments"}) {
      EXPECT_EQ(call(method, id), ChannelReply::success("")) << method << " " << id;
    }
    EXPECT_EQ(call("process::getMainWindowHandle", id), ChannelReply::success("")) << id;
  }
  EXPECT_TRUE(tools.calls.empty());
  EXPECT_TRUE(handles.asked.empty());
}

TEST_F(ProcessCommandsTest, FieldsAreWhatPsPrintsForTheirKeywordTrimmedOrUnknown) {
  const std::pair<const char*, const char*> commands[] = {
      {"process::getProcessName", "comm="},
      {"process::getProcessFileName", "args="},
      {"process::getProcessLaunchArguments", "args="},
  };
  const std::pair<Expected<ToolRun>, std::string> cases[] = {
      {finishedRun("  sleep \n"), "sleep"},
      {finishedRun("/bin/sleep  1000  x\n"), "/bin/sleep  1000  x"},
      {finishedRun("", 1), ""},  // an id that is gone
      {finishedRun("caf\xE9\n"), "Unknown"},
      {notStartedRun(), "Unknown"},
  };
  for (const auto& [method, keyword] : commands) {
    for (const auto& [run, field] : cases) {
      EXPECT_EQ(callRunning(method, 31, run, {"/bin/ps", {"-p", "31", "-o", keyword}, kOutput, kPsLimit}),
                ChannelReply::success(field));
    }
  }
  EXPECT_EQ(call("process::getProcessWorkingDirectory", 31), ChannelReply::success("Unknown"));
}

// Whole names, taken unchanged, up to canonical equivalence (UnicodeTextTest
// holds the cases of the comparison itself), in the order of the list.
TEST_F(ProcessCommandsTest, ProcessesByNameMatchesWholeNames) {
  applications.applications = {
      {"Caf\xC3\xA9", 10}, {std::nullopt, 11}, {"Finder", 12}, {"Cafe\xCC\x81", 13}, {"Finder", 14}, {"", 15}, {" Finder", 16},
  };
  const std::pair<std::string, Ids> cases[] = {
      {"Caf\xC3\xA9", {10, 13}}, {"Cafe\xCC\x81", {10, 13}}, {"Finder", {12, 14}}, {"Find", {}}, {"", {15}}, {" Finder", {16}},
  };
  for (const auto& [name, ids] : cases) {
    EXPECT_EQ(call("process::getProcessesByName", argumentMap({{"name", name}, {"extra", 1}})),
              ChannelReply::success(processIdListValue(ids)));
  }
  for (const ChannelValue& sent : {ChannelValue(), ChannelValue(ChannelList{}), argumentMap({{"name", 5}}),
                                   argumentMap({{"processName", "Finder"}}), argumentMap({{1, "Finder"}})}) {
    EXPECT_EQ(call("process::getProcessesByName", sent), ChannelReply::error("INVALID_ARGUMENT", "Expected process name"));
  }
}

// A name up to its limit is compared with every process's; a byte more is
// refused before the table is read.
TEST_F(ProcessCommandsTest, ANameBeyondItsLimitIsRefusedBeforeTheProcessTableIsRead) {
  const std::string name(4096, 'n');
  applications.applications = {{name, 10}};
  EXPECT_EQ(call("process::getProcessesByName", argumentMap({{"name", name}})),
            ChannelReply::success(processIdListValue({10})));
  applications.applications = {{name + "n", 11}};
  EXPECT_EQ(call("process::getProcessesByName", argumentMap({{"name", name + "n"}})),
            ChannelReply::error("INVALID_ARGUMENT", "Expected process name of at most 4096 bytes"));
}

// Anything but an integer "processId" in a map of string keys is refused, and runs nothing.
TEST_F(ProcessCommandsTest, ProcessIdCommandsRefuseAnythingButAnIntegerProcessId) {
  for (const char* method : {"process::isAlive", "process::getMainWindowHandle", "process::getMainWindowTitle",
                             "process::closeWindow", "process::killProcess", "process::getProcessName",
                             "process::getProcessFileName", "process::getProcessLaunchArguments",
                             "process::getProcessWorkingDirectory"}) {
    for (const ChannelValue& sent :
         {ChannelValue(), ChannelValue(std::int64_t{5}), ChannelValue(ChannelList{ChannelValue(5)}), argumentMap({{"pid", 5}}),
          argumentMap({{"processId", "5"}}), argumentMap({{"processId", 5.0}}), argumentMap({{"processId", true}}),
          argumentMap({{"processId", 5}, {0, 1}})}) {
      EXPECT_EQ(call(method, sent), ChannelReply::error("INVALID_ARGUMENT", "Expected processId")) << method;
    }
  }
  EXPECT_TRUE(tools.calls.empty());
  EXPECT_TRUE(handles.asked.empty());
}

// The handle the desktop answers (not the id asked) as its whole decimal text; the desktop's reason for a
// failure only in the printed line.
TEST_F(ProcessCommandsTest, MainWindowHandleIsTheIdTheDesktopListsOrUnavailable) {
  using Handle = std::optional<std::int64_t>;
  const std::tuple<const char*, FakeMainWindowHandles::Result, ChannelReply, std::vector<std::string>> cases[] = {
      {"process listed", Handle(kMax), ChannelReply::success("9223372036854775807"), {}},
      {"process not listed", Handle(), ChannelReply::success(""), {}},
      {"desktop failed", Failure{"{number = -1728}"},
       ChannelReply::error("UNAVAILABLE", "Main window handle not found"), {"AppleScript Error: {number = -1728}"}},
  };
  for (const auto& [name, result, reply, printed] : cases) {
    SCOPED_TRACE(name);
    handles.result = result;
    handles.asked.clear();
    diagnostics.lines.clear();
    EXPECT_EQ(call("process::getMainWindowHandle", 2147483647), reply);
    EXPECT_EQ(handles.asked, Ids{2147483647});
    EXPECT_EQ(diagnostics.lines, printed);
  }
}

WindowListEntry window(std::optional<std::int64_t> owner, std::optional<std::string> name) {
  return WindowListEntry{owner, std::move(name), std::nullopt};
}

TEST_F(ProcessCommandsTest, MainWindowTitleIsTheFirstNamedWindowOfTheProcess) {
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
  for (const auto& [name, list, reply, printed] : cases) {
    SCOPED_TRACE(name);
    windows.windows = list;
    diagnostics.lines.clear();
    EXPECT_EQ(call("process::getMainWindowTitle", 7), reply);
    EXPECT_EQ(diagnostics.lines, printed);
  }
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
