#include "process/process_manager.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdint>

#include "process/main_window_script.h"
#include "tests/process/fake_process_platform.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using testing::FakeProcessPlatform;
using testing::finishedRun;
using testing::notStartedRun;
using testing::ReplyRecorder;
using testing::ToolCall;
using Ids = std::vector<std::int64_t>;

constexpr auto kOutput = ToolRunner::Streams::kOutput;

class ProcessManagerTest : public ::testing::Test {
 protected:
  FakeProcessPlatform platform;
  ProcessManager manager{platform.environment()};
};

TEST_F(ProcessManagerTest, ProcessIdListRunsPsForEveryPid) {
  platform.tools.answers = {finishedRun("    PID\n      1\n     97\n")};
  EXPECT_EQ(manager.getProcessIdList(), (Ids{1, 97}));
  EXPECT_EQ(platform.tools.calls, (std::vector<ToolCall>{{"/bin/ps", {"-e", "-o", "pid"}, kOutput}}));
}

TEST_F(ProcessManagerTest, ProcessIdListFailuresGiveTheEmptyList) {
  const std::pair<const char*, ToolRun> cases[] = {
      {"not valid UTF-8", finishedRun("PID\n1\n\xFF\n2\n")},
      {"tool not started", notStartedRun()},
      {"empty output", finishedRun("")},
  };
  for (const auto& [name, run] : cases) {
    SCOPED_TRACE(name);
    platform.tools.answers = {run};
    EXPECT_EQ(manager.getProcessIdList(), Ids{});
  }
}

TEST_F(ProcessManagerTest, ProcessIdListIgnoresTheExitStatus) {
  platform.tools.answers = {finishedRun("PID\n4\n", 1)};
  EXPECT_EQ(manager.getProcessIdList(), Ids{4});
}

TEST_F(ProcessManagerTest, CurrentProcessIdIsOurs) { EXPECT_EQ(manager.getCurrentProcessId(), ::getpid()); }

struct AliveCase {
  const char* name;
  ToolRun run;
  bool alive;
};

// The output is whatever ps's settings make of it; the exit status is not.
TEST_F(ProcessManagerTest, AliveExactlyWhenPsListedTheId) {
  const AliveCase cases[] = {
      {"listed", finishedRun("    PID TTY          TIME CMD\n     42 ?        00:00:00 sleep\n"), true},
      {"listed under a PS_FORMAT without header", finishedRun("42\n"), true},
      {"listed, output not UTF-8", finishedRun("PID\n42 \xFF\n"), true},
      {"not listed: header only", finishedRun("    PID TTY          TIME CMD\n", 1), false},
      {"not listed, yet a line under the header", finishedRun("PID\n42\n", 1), false},
      {"killed by a signal", [] { ToolRun run = finishedRun(""); run.waitStatus = SIGKILL; return run; }(), false},
      {"tool not started", notStartedRun(), false},
  };
  for (const AliveCase& c : cases) {
    SCOPED_TRACE(c.name);
    platform.tools.answers = {c.run};
    platform.tools.calls.clear();
    EXPECT_EQ(manager.isAlive(42), c.alive);
    EXPECT_EQ(platform.tools.calls, (std::vector<ToolCall>{{"/bin/ps", {"-p", "42"}, kOutput}}));
  }
}

TEST_F(ProcessManagerTest, IdsReachTheToolsAsPlainDecimalText) {
  manager.isAlive(1);
  manager.isAlive(2147483647);
  EXPECT_EQ(platform.tools.calls[0].arguments, (std::vector<std::string>{"-p", "1"}));
  EXPECT_EQ(platform.tools.calls[1].arguments, (std::vector<std::string>{"-p", "2147483647"}));
}

struct KillCase {
  const char* name;
  ToolRun run;
  bool killed;
};

TEST_F(ProcessManagerTest, KillAndCloseWindowAnswerWhetherKillExitedWithZero) {
  const KillCase cases[] = {
      {"killed", finishedRun("", 0), true},
      {"no such process", finishedRun("", 1), false},
      {"tool not started", notStartedRun(), false},
  };
  for (const KillCase& c : cases) {
    SCOPED_TRACE(c.name);
    for (auto operation : {&ProcessManager::killProcess, &ProcessManager::closeWindow}) {
      platform.tools.answers = {c.run};
      platform.tools.calls.clear();
      EXPECT_EQ((manager.*operation)(1234), c.killed);
      EXPECT_EQ(platform.tools.calls, (std::vector<ToolCall>{{"/bin/kill", {"-9", "1234"}, kOutput}}));
    }
  }
}

// Ids that no process can have: group-wide ones, and 64-bit ones that procps
// would narrow to a group-wide or another process's 32-bit id.
constexpr std::int64_t kImpossibleIds[] = {
    0, -1, -4321, std::int64_t{1} << 31, (std::int64_t{1} << 32) - 1, std::int64_t{1} << 32,
    (std::int64_t{1} << 32) + 1, (std::int64_t{1} << 32) + 4321, INT64_MAX, INT64_MIN,
};

TEST_F(ProcessManagerTest, ImpossibleIdsAnswerAsNoSuchProcessWithoutRunningATool) {
  for (const std::int64_t id : kImpossibleIds) {
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

struct FieldCase {
  const char* name;
  ToolRun run;
  std::string answer;
};

TEST_F(ProcessManagerTest, ProcessFieldsAreTrimmedOrUnknown) {
  const FieldCase cases[] = {
      {"name with line feed and blanks", finishedRun("  sleep \n"), "sleep"},
      {"inner blanks kept", finishedRun("/bin/sleep  1000  x\n"), "/bin/sleep  1000  x"},
      {"empty output for an absent id", finishedRun("", 1), ""},
      {"not valid UTF-8", finishedRun("caf\xE9\n"), "Unknown"},
      {"tool not started", notStartedRun(), "Unknown"},
  };
  for (const FieldCase& c : cases) {
    SCOPED_TRACE(c.name);
    platform.tools.answers = {c.run};
    EXPECT_EQ(manager.readProcessField(5, "comm="), c.answer);
  }
}

struct FieldOperation {
  const char* name;
  std::string (ProcessManager::*operation)(std::int64_t);
  const char* keyword;
};

TEST_F(ProcessManagerTest, FieldQueriesAskPsForTheirKeyword) {
  const FieldOperation operations[] = {
      {"name", &ProcessManager::getProcessName, "comm="},
      {"file name", &ProcessManager::getProcessFileName, "args="},
      {"launch arguments", &ProcessManager::getProcessLaunchArguments, "args="},
  };
  for (const FieldOperation& o : operations) {
    SCOPED_TRACE(o.name);
    platform.tools.calls.clear();
    platform.tools.answers = {finishedRun(" value\n")};
    EXPECT_EQ((manager.*o.operation)(31), "value");
    EXPECT_EQ(platform.tools.calls, (std::vector<ToolCall>{{"/bin/ps", {"-p", "31", "-o", o.keyword}, kOutput}}));
  }
}

TEST_F(ProcessManagerTest, WorkingDirectoryIsAlwaysUnknownAndRunsNothing) {
  for (std::int64_t id : {std::int64_t{::getpid()}, std::int64_t{999999999}, std::int64_t{-3}}) {
    EXPECT_EQ(manager.getProcessWorkingDirectory(id), "Unknown");
  }
  EXPECT_TRUE(platform.tools.calls.empty());
}

struct NameCase {
  const char* name;
  std::string asked;
  Ids ids;
};

TEST_F(ProcessManagerTest, ProcessesByNameMatchesWholeNamesUpToCanonicalEquivalence) {
  platform.applications.applications = {
      {"Caf\xC3\xA9", 10}, {std::nullopt, 11}, {"Finder", 12}, {"Cafe\xCC\x81", 13}, {"Finder", 14}, {"", 15},
  };
  const NameCase cases[] = {
      {"precomposed finds both forms", "Caf\xC3\xA9", {10, 13}},
      {"decomposed finds both forms", "Cafe\xCC\x81", {10, 13}},
      {"two applications of one name, in order", "Finder", {12, 14}},
      {"other case", "finder", {}},
      {"trailing blank", "Finder ", {}},
      {"prefix", "Find", {}},
      {"empty name matches only an empty name", "", {15}},
  };
  for (const NameCase& c : cases) {
    SCOPED_TRACE(c.name);
    ReplyRecorder recorder;
    manager.getProcessesByName(c.asked, recorder.callback());
    ASSERT_EQ(recorder.replies().size(), 1u);
    EXPECT_EQ(recorder.only(), ChannelReply::success(processIdListValue(c.ids)));
  }
}

TEST(ProcessIdListValueTest, IsAPlainListOfIntegers) {
  EXPECT_EQ(processIdListValue({1, -2, 5000000000}),
            ChannelValue(ChannelList{std::int64_t{1}, std::int64_t{-2}, std::int64_t{5000000000}}));
}

TEST(MainWindowScriptTest, HasItsTwoFixedPieces) {
  EXPECT_EQ(kMainWindowScriptHead.size(), 83u);
  EXPECT_EQ(kMainWindowScriptTail.size(), 139u);
  EXPECT_EQ(mainWindowHandleScript(-7),
            "tell application \"System Events\"\n"
            "    set pidList to every process whose unix id is -7\n"
            "    if length of pidList is greater than 0 then\n"
            "        return unix id of item 1 of pidList\n"
            "    else\n"
            "        return \"\"\n"
            "    end if\n"
            "end tell");
}

struct ScriptCase {
  const char* name;
  ScriptOutcome outcome;
  ChannelReply reply;
  std::vector<std::string> printed;
};

TEST_F(ProcessManagerTest, MainWindowHandleAnswersTheScriptsText) {
  const ChannelReply notFound = ChannelReply::error("UNAVAILABLE", "Main window handle not found");
  const ScriptCase cases[] = {
      {"process listed", {ScriptOutcome::Kind::kResult, "", "4242"}, ChannelReply::success("4242"), {}},
      {"process not listed", {ScriptOutcome::Kind::kResult, "", ""}, ChannelReply::success(""), {}},
      {"result without text", {ScriptOutcome::Kind::kResult, "", std::nullopt}, notFound, {}},
      {"result that is not UTF-8", {ScriptOutcome::Kind::kResult, "", "42\xFF"}, notFound, {}},
      {"script not made", {ScriptOutcome::Kind::kNotMade, "", std::nullopt}, notFound, {}},
      {"script failed", {ScriptOutcome::Kind::kFailed, "{number = -1728}", std::nullopt}, notFound,
       {"AppleScript Error: {number = -1728}"}},
  };
  for (const ScriptCase& c : cases) {
    SCOPED_TRACE(c.name);
    platform.scripts.outcome = c.outcome;
    platform.scripts.sources.clear();
    platform.diagnostics.lines.clear();
    ReplyRecorder recorder;
    manager.getMainWindowHandle(4242, recorder.callback());
    ASSERT_EQ(recorder.replies().size(), 1u);
    EXPECT_EQ(recorder.only(), c.reply);
    EXPECT_EQ(platform.scripts.sources, std::vector<std::string>{mainWindowHandleScript(4242)});
    EXPECT_EQ(platform.diagnostics.lines, c.printed);
  }
}

WindowListEntry window(std::optional<std::int64_t> owner, std::optional<std::string> name) {
  return WindowListEntry{owner, std::move(name), std::nullopt};
}

struct TitleCase {
  const char* name;
  std::optional<std::vector<WindowListEntry>> windows;
  ChannelReply reply;
  std::vector<std::string> printed;
};

TEST_F(ProcessManagerTest, MainWindowTitleIsTheFirstNamedWindowOfTheProcess) {
  const ChannelReply notFound = ChannelReply::error("UNAVAILABLE", "Main window title not found");
  const TitleCase cases[] = {
      {"first of two named windows",
       std::vector{window(7, "Editor"), window(7, "Palette")}, ChannelReply::success("Editor"), {}},
      {"unnamed, empty-named and not-UTF-8-named windows passed over",
       std::vector{window(7, std::nullopt), window(7, ""), window(7, "Caf\xE9"), window(7, "Fourth")},
       ChannelReply::success("Fourth"), {}},
      {"other processes' windows passed over",
       std::vector{window(8, "Other"), window(std::nullopt, "Ownerless"), window(7, "Own")},
       ChannelReply::success("Own"), {}},
      {"no window of the process", std::vector{window(8, "Other")}, notFound, {}},
      {"empty list", std::vector<WindowListEntry>{}, notFound, {}},
      {"no list", std::nullopt, notFound, {"Error: Could not retrieve window list from Core Graphics."}},
  };
  for (const TitleCase& c : cases) {
    SCOPED_TRACE(c.name);
    platform.windows.windows = c.windows;
    platform.diagnostics.lines.clear();
    ReplyRecorder recorder;
    manager.getMainWindowTitle(7, recorder.callback());
    ASSERT_EQ(recorder.replies().size(), 1u);
    EXPECT_EQ(recorder.only(), c.reply);
    EXPECT_EQ(platform.diagnostics.lines, c.printed);
  }
}

TEST_F(ProcessManagerTest, LookupCompletionCarriesTextOrTheGivenMessage) {
  ReplyRecorder found;
  manager.completeMainWindowLookup(
      3, found.callback(), [](std::int64_t id) { return std::optional<std::string>(std::to_string(id * 2)); }, "x");
  EXPECT_EQ(found.only(), ChannelReply::success("6"));
  ReplyRecorder missing;
  manager.completeMainWindowLookup(
      3, missing.callback(), [](std::int64_t) { return std::optional<std::string>(); }, "Nothing here");
  EXPECT_EQ(missing.only(), ChannelReply::error("UNAVAILABLE", "Nothing here"));
  EXPECT_TRUE(missing.only().error().details.isNull());
}

// The exported face: every method answers once, before it returns, with what
// the core operation gives.
struct ExportedCase {
  const char* name;
  std::function<void(ProcessManager&, ReplyCallback)> call;
  ChannelReply reply;
};

TEST_F(ProcessManagerTest, ExportedMethodsCompleteOnceBeforeReturning) {
  platform.applications.applications = {{"Finder", 12}};
  platform.scripts.outcome = {ScriptOutcome::Kind::kResult, "", "9"};
  platform.windows.windows = std::vector{window(9, "Main")};
  const std::int64_t self = ::getpid();
  const ExportedCase cases[] = {
      {"getProcessIdList", [](ProcessManager& m, ReplyCallback r) { m.getProcessIdList(std::move(r)); },
       ChannelReply::success(processIdListValue({})), },
      {"getCurrentProcessId", [](ProcessManager& m, ReplyCallback r) { m.getCurrentProcessId(std::move(r)); },
       ChannelReply::success(static_cast<std::int32_t>(self))},
      {"getProcessesByNameWithProcessName",
       [](ProcessManager& m, ReplyCallback r) { m.getProcessesByNameWithProcessName("Finder", std::move(r)); },
       ChannelReply::success(processIdListValue({12}))},
      {"isAliveWithProcessId", [](ProcessManager& m, ReplyCallback r) { m.isAliveWithProcessId(9, std::move(r)); },
       ChannelReply::success(true)},
      {"getMainWindowHandleWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.getMainWindowHandleWithProcessId(9, std::move(r)); },
       ChannelReply::success("9")},
      {"getMainWindowTitleWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.getMainWindowTitleWithProcessId(9, std::move(r)); },
       ChannelReply::success("Main")},
      {"closeWindowWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.closeWindowWithProcessId(9, std::move(r)); },
       ChannelReply::success(true)},
      {"killProcessWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.killProcessWithProcessId(0, std::move(r)); },
       ChannelReply::success(false)},
      {"getProcessNameWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.getProcessNameWithProcessId(9, std::move(r)); },
       ChannelReply::success("")},
      {"getProcessFileNameWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.getProcessFileNameWithProcessId(9, std::move(r)); },
       ChannelReply::success("")},
      {"getProcessLaunchArgumentsWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.getProcessLaunchArgumentsWithProcessId(9, std::move(r)); },
       ChannelReply::success("")},
      {"getProcessWorkingDirectoryWithProcessId",
       [](ProcessManager& m, ReplyCallback r) { m.getProcessWorkingDirectoryWithProcessId(9, std::move(r)); },
       ChannelReply::success("Unknown")},
  };
  for (const ExportedCase& c : cases) {
    SCOPED_TRACE(c.name);
    ReplyRecorder recorder;
    c.call(manager, recorder.callback());
    ASSERT_EQ(recorder.replies().size(), 1u);
    EXPECT_EQ(recorder.only(), c.reply);
  }
}

}  // namespace
}  // namespace quillon
