// The list of the link's traffic, over fake clocks: how a call is summarised
// (one line, cut at the width, secrets and bytes as their sizes), how its
// fields are written, what the log keeps and when it says it changed,
// and what the stand-in view says.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>

#include "traffic/call_log.h"
#include "traffic/one_line_text.h"
#include "traffic/stand_in_text.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

ChannelMap mapOf(std::initializer_list<std::pair<const char*, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t index = 0; index < count; ++index) all += text;
  return all;
}

TEST(OneLineTextTest, EscapesWhatWouldBreakTheLineRepairsBytesAndCutsAtTheWidth) {
  struct Case {
    std::string text;
    std::size_t width;
    std::string shown;
  };
  const std::vector<Case> cases = {
      {"abc", 3, "abc"},
      {"abcd", 3, "ab…"},
      {"one\ntwo\r\tend", 40, "one\\ntwo\\r\\tend"},
      {"\x1b[0m\x7f\xc2\x85|\xe2\x80\xa8|\xe2\x80\xa9", 40, "\\u{1b}[0m\\u{7f}\\u{85}|\\u{2028}|\\u{2029}"},
      {std::string("nul\0here", 8), 40, "nul\\u{0}here"},
      {"a\xff" "b\xe2\x82" "c\xed\xa0\x80", 40, "a\xef\xbf\xbd" "b\xef\xbf\xbd\xef\xbf\xbd" "c\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
      {repeated("é", 10), 5, repeated("é", 4) + "…"},
      {"a\nb", 2, "a…"},  // an escape counts its characters
  };
  for (const Case& each : cases) {
    EXPECT_EQ(oneLine(each.text, each.width), each.shown) << each.text;
  }
}

TEST(CallSummariserTest, ArgumentsOnOneLineCutAtTheWidthWithBytesAndSecretsAsTheirSizes) {
  const CallSummariser summariser({{"storage", "write", "value"}, {"commands", "ssl::addCertificate", "certificate"}});
  struct Case {
    const char* what;
    const char* channel;
    const char* method;
    ChannelValue arguments;
    std::string shown;
  };
  const std::vector<Case> cases = {
      {"none", "commands", "m", {}, ""},
      {"a map", "commands", "m", mapOf({{"name", "bash"}}), R"({"name": "bash"})"},
      {"each kind", "commands", "m",
       ChannelList{nullptr, true, std::int32_t{7}, std::int64_t{1} << 40, 2.5, "a\"b\\c"},
       R"([null, true, 7, 1099511627776, 2.5, "a\"b\\c"])"},
      {"typed lists", "commands", "m",
       ChannelList{std::vector<std::int32_t>{1, -2}, std::vector<std::int64_t>{3}, std::vector<double>{0.5}},
       "[[1, -2], [3], [0.5]]"},
      {"bytes", "commands", "m", mapOf({{"data", std::vector<std::uint8_t>{1, 2, 3}}, {"one", std::vector<std::uint8_t>{9}}}),
       R"({"data": <3 bytes>, "one": <1 byte>})"},
      {"a stored secret", "storage", "write", mapOf({{"key", "token"}, {"value", "s3cr3t"}}),
       R"({"key": "token", "value": <hidden: 6 bytes>})"},
      {"a certificate", "commands", "ssl::addCertificate", mapOf({{"certificate", repeated("MIIB", 359)}}),
       R"({"certificate": <hidden: 1436 bytes>})"},
      {"a secret of another type", "storage", "write", mapOf({{"value", std::int32_t{5}}}), R"({"value": <hidden>})"},
      {"the key in another method", "storage", "read", mapOf({{"value", "v"}}), R"({"value": "v"})"},
      {"the key on another channel", "other", "write", mapOf({{"value", "v"}}), R"({"value": "v"})"},
      {"the key deeper down", "storage", "write", mapOf({{"options", mapOf({{"value", "v"}})}}),
       R"({"options": {"value": "v"}})"},
      {"a line break in a key", "commands", "m", mapOf({{"a\nb", nullptr}}), R"({"a\nb": null})"},
      {"long text", "commands", "m", repeated("x", 500), "\"" + repeated("x", kArgumentsWidth - 2) + "…"},
      {"a long list", "commands", "m", ChannelList(100'000, ChannelValue(std::int32_t{12})),
       "[" + repeated("12, ", 29) + "12…"},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(summariser.arguments(each.channel, MethodCall{each.method, each.arguments}), each.shown) << each.what;
  }
}

TEST(CallSummaryTest, AnswersTimesAndDurationsAsTheListWritesThem) {
  EXPECT_EQ(answerKind(ChannelReply::success(ChannelValue("a secret read"))), "success");
  EXPECT_EQ(answerKind(ChannelReply::error("SECRET_STORE_ERROR", "the reason")), "error SECRET_STORE_ERROR");
  EXPECT_EQ(answerKind(ChannelReply::notImplemented()), "not implemented");
  for (const auto& [took, shown] : std::vector<std::pair<std::chrono::microseconds, std::string>>{
           {0us, "0.00 ms"}, {42us, "0.04 ms"}, {9'994us, "9.99 ms"}, {10'000us, "10 ms"}, {250'400us, "250 ms"},
           {2'500'000us, "2.5 s"}}) {
    EXPECT_EQ(duration(took), shown);
  }
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  EXPECT_EQ(timeOfDay(Instant(1'700'000'000'915'123us)), "22:13:20.915");
  EXPECT_EQ(timeOfDay(Instant(1'700'000'001'000'999us)), "22:13:21.000");
}

// Clocks that move only when the test moves them.
struct FakeClocks {
  CallLog::Clocks clocks() {
    return {[this] { return wall; }, [this] { return monotonic; }};
  }
  Instant wall{1'700'000'000'000'000us};
  std::chrono::steady_clock::time_point monotonic{};
};

class CallLogTest : public ::testing::Test {
 protected:
  CallLog::AnswerNote call(const std::string& method, ChannelValue arguments = {}) {
    return log_->callReceived("commands", MethodCall{method, std::move(arguments)});
  }
  std::vector<std::string> methods() const {
    std::vector<std::string> shown;
    for (const CallSummary* summary : log_->newestFirst()) shown.push_back(summary->method);
    return shown;
  }

  FakeClocks time_;
  std::optional<CallLog> log_{std::in_place, CallSummariser({{"commands", "write", "value"}}), time_.clocks()};
};

TEST_F(CallLogTest, KeepsEachCallsSummaryNewestFirstAndItsAnswerWhenItComes) {
  CallLog::AnswerNote first = call("process::getProcessesByName", mapOf({{"name", "bash"}}));
  time_.wall += 5ms;
  CallLog::AnswerNote second = call("write", mapOf({{"value", "secret"}}));
  time_.monotonic += 1500us;
  std::move(first)(ChannelReply::success(ChannelList{}));

  const auto calls = log_->newestFirst();
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0]->sequence, 2u);
  EXPECT_EQ(calls[0]->arguments, R"({"value": <hidden: 6 bytes>})");
  EXPECT_EQ(calls[0]->answer, "");  // still waiting
  EXPECT_FALSE(calls[0]->took);
  EXPECT_EQ(calls[1]->sequence, 1u);
  EXPECT_EQ(calls[1]->received, Instant(1'700'000'000'000'000us));
  EXPECT_EQ(calls[1]->channel, "commands");
  EXPECT_EQ(calls[1]->method, "process::getProcessesByName");
  EXPECT_EQ(calls[1]->arguments, R"({"name": "bash"})");
  EXPECT_EQ(calls[1]->answer, "success");
  EXPECT_EQ(calls[1]->took, 1500us);
  EXPECT_EQ(log_->find(2), calls[0]);
}

// A call that leaves the log takes everything of it along; its answer, or one
// that comes after the log is gone, changes nothing.
TEST_F(CallLogTest, KeepsTheLatestCallsAloneAndAnswersAfterTheyLeftChangeNothing) {
  CallLog::AnswerNote leaving = call("first");
  for (std::size_t index = 2; index <= CallLog::kCapacity + 1; ++index) call("call " + std::to_string(index));
  const auto calls = log_->newestFirst();
  ASSERT_EQ(calls.size(), CallLog::kCapacity);
  EXPECT_EQ(calls.front()->method, "call 301");
  EXPECT_EQ(calls.back()->method, "call 2");
  EXPECT_EQ(log_->find(1), nullptr);
  std::move(leaving)(ChannelReply::success());
  EXPECT_EQ(log_->find(CallLog::kCapacity + 1)->answer, "");  // the slot the first call had

  CallLog::AnswerNote late = call("late");
  log_.reset();
  std::move(late)(ChannelReply::notImplemented());
}

// Told once, however much changes, until the log has been seen.
TEST_F(CallLogTest, TellsItsListenerOnceUntilSeenAndCountsTheConnections) {
  int told = 0;
  log_->setChangeListener([&told] { ++told; });
  EXPECT_FALSE(log_->changed());
  log_->connectionsChanged(2);
  CallLog::AnswerNote note = call("a");
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(log_->changed());
  log_->markSeen();
  std::move(note)(ChannelReply::success());
  call("b");
  EXPECT_EQ(told, 2);
  EXPECT_EQ(log_->connections(), 2u);
  EXPECT_EQ(methods(), (std::vector<std::string>{"b", "a"}));
}

TEST(StandInTextTest, SaysHowManyInterfacesAreConnectedAndHowToCallTheHost) {
  EXPECT_EQ(linkSentence(0),
            "This build shows no view of its own: it serves the interface over the link, and no interface is connected.");
  EXPECT_TRUE(linkSentence(1).ends_with(", and 1 interface is connected."));
  EXPECT_TRUE(linkSentence(12).ends_with(", and 12 interfaces are connected."));

  const std::string usual = "/run/user/1000/quillon-host/interface.sock";
  struct Case {
    std::string socket;
    std::string line;
  };
  for (const Case& each : std::vector<Case>{
           {usual, "quillon-call assembly::getExecutingAssemblyPath"},
           {"/tmp/q/s.sock", "QUILLON_INTERFACE_SOCKET=/tmp/q/s.sock quillon-call assembly::getExecutingAssemblyPath"},
           {"/tmp/it's here/s", "QUILLON_INTERFACE_SOCKET='/tmp/it'\\''s here/s' quillon-call "
                                "assembly::getExecutingAssemblyPath"},
           {"/tmp/\xff/s", "QUILLON_INTERFACE_SOCKET='/tmp/\xef\xbf\xbd/s' quillon-call assembly::getExecutingAssemblyPath"},
       }) {
    EXPECT_EQ(callLine(each.socket, usual), each.line);
  }
  EXPECT_EQ(pathText("/tmp/\xff/s"), "/tmp/\xef\xbf\xbd/s");
}

}  // namespace
}  // namespace quillon
