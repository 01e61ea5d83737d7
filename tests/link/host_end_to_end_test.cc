// The built host, started in a bundle of its own and called over its socket;
// and quillon-call against it, and against a scripted stand-in host for the
// answers the real one does not give on its own. (--listen --answer-close
// against the built host: shell_end_to_end_test.cc.)
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "channel/standard_codec.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

// Each way of breaking the framing closes its connection only, with a line
// that says why; the host serves the others, and new ones, on.
TEST(HostEndToEndTest, BrokenFramingClosesOnlyThatClientWithItsReason) {
  auto host = startedHost({});
  auto healthy = connectTo(*host);
  ASSERT_TRUE(healthy);
  EXPECT_TRUE(callHost(*healthy, "nothing", "nothing").isNotImplemented());
  const std::vector<std::pair<std::vector<std::uint8_t>, std::string>> kBroken{
      {{1, 0, 0, 4}, "beyond the limit"},  // 64 MiB and one byte: refused before the body arrives.
      {{0xFF, 0xFF, 0xFF, 0xFF, 1}, "beyond the limit"},
      {{4, 0, 0, 0, 1, 0, 0, 0}, "too short"},
      {{0, 0, 0, 0}, "too short"},
      {{5, 0, 0, 0, 0}, "unknown frame kind 0"},
      {{5, 0, 0, 0, 3, 1, 0, 0, 0}, "unknown frame kind 3"},
      {{6, 0, 0, 0, 1, 1, 0, 0, 0, 9}, "without a channel name length"},
      {{9, 0, 0, 0, 1, 1, 0, 0, 0, 3, 0, 'a', 'b'}, "beyond the frame"},
      {{9, 0, 0, 0, 1, 1, 0, 0, 0, 2, 0, 0xC3, 0x28}, "not UTF-8"},
  };
  for (const auto& [bytes, reason] : kBroken) {
    auto broken = connectTo(*host);
    ASSERT_TRUE(broken);
    const auto sent = broken->sendRaw(bytes);
    ASSERT_TRUE(sent.hasValue()) << sent.error().reason;
    EXPECT_TRUE(broken->waitForClose(kAnswerTime)) << reason;
  }
  auto later = connectTo(*host);
  ASSERT_TRUE(later);
  for (LinkClient* client : {healthy.get(), later.get()}) {
    EXPECT_EQ(callHost(*client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
              ChannelReply::success(host->executablePath()));
  }
  EXPECT_EQ(host->stop(), 0);
  for (const auto& [bytes, reason] : kBroken) {
    EXPECT_NE(host->errorOutput().find(reason), std::string::npos) << reason << " in " << host->errorOutput();
  }
}

// No interface could read a path that is not UTF-8, and a repaired one would
// name another file: the paths answer empty, with the lines that say why.
TEST(HostEndToEndTest, ABundlePathThatIsNotUtf8AnswersEmptyWithTheLines) {
  auto host = startedHost({.bundleName = "bundle-caf\xE9"});
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  for (const char* method : {"assembly::getExecutingAssemblyPath", "assembly::getTXBinaryExecutablePath"}) {
    EXPECT_EQ(callHost(*client, kNativeCommandChannel, method), ChannelReply::success("")) << method;
  }
  EXPECT_EQ(host->stop(), 0);
  EXPECT_EQ(host->output(), "Error: Unable to find the executable URL\nError: Unable to find the resource path\n");
}

// A live host that does not take the launch (one without the instance
// channel) keeps the second from starting. The launch's startup id goes to it
// when it is text of the running host's size; otherwise the launch goes
// without it, with a line. (The hosts that take it are on the desktop:
// shell_desktop_test.cc.)
TEST(HostEndToEndTest, ALiveHostThatDoesNotTakeTheLaunchLeavesTheSecondAtStatusOne) {
  HostProcess host({});
  std::filesystem::create_directories(std::filesystem::path(host.socketPath()).parent_path());
  const std::string refused = "quillon-host: another host already serves " + host.socketPath() +
                              " and did not take the launch: it answered not-implemented\n";
  const std::string without = "; the launch is handed over without it\n";
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"launch-2_TIME7", "launch-2_TIME7", ""},
      {std::string(4096, 'i'), std::string(4096, 'i'), ""},
      {"launch-\xFF_TIME7", "", "quillon-host: DESKTOP_STARTUP_ID is not UTF-8" + without},
      {std::string(4097, 'i'), "", "quillon-host: DESKTOP_STARTUP_ID is longer than 4096 bytes" + without},
  };
  for (const auto& [id, sent, line] : cases) {
    SCOPED_TRACE(id.substr(0, 20));
    std::optional<LinkClient::HostMessage> received;
    {
      ScriptedHost olderHost(host.socketPath(), [&received](LinkClient& client) {
        if (auto message = client.nextMessage(kAnswerTime); message.hasValue()) {
          client.sendRaw(encodeReplyFrame(message->id, {}));
          received = *std::move(message);
        }
      });
      const auto second = host.spawnHost("second", {{"DESKTOP_STARTUP_ID", id}});
      EXPECT_EQ(second->waitExit(kAnswerTime), 1);
    }
    ASSERT_TRUE(received);
    EXPECT_EQ(received->channel, "quillon.app/instance");
    EXPECT_EQ(StandardCodec::decodeMethodCall(received->payload),
              (MethodCall{"activate", argumentMap({{"startupId", sent}})}));
    // GTK, as it loads, says so too of an id that is not UTF-8.
    EXPECT_TRUE(host.errorOutput("second").ends_with(line + refused)) << host.errorOutput("second");
    std::filesystem::remove(host.socketPath());
  }
}

struct Case {
  std::vector<std::string> arguments;
  int status;
  std::string output;
  std::string error;  // Part of what goes to standard error.
};

void expectRun(const Case& each, const ToolRun& run) {
  SCOPED_TRACE(::testing::PrintToString(each.arguments));
  EXPECT_EQ(run.status, each.status) << run.errorOutput;
  EXPECT_EQ(run.output, each.output);
  EXPECT_NE(run.errorOutput.find(each.error), std::string::npos) << run.errorOutput;
}

// One helper is there, the other missing, which the host says on its standard output.
TEST(QuillonCallTest, PrintsEachOutcomeWithItsExitStatus) {
  HostProcess host({});
  std::filesystem::create_directories(host.dataPath() + "/pylonTX");
  std::ofstream(host.dataPath() + "/pylonTX/pylonTX") << "#!/bin/sh\n";
  host.start();
  ASSERT_TRUE(host.waitReady()) << host.errorOutput();
  const auto quoted = [](const std::string& text) { return '"' + text + "\"\n"; };
  const std::string usage = "Try 'quillon-call --help'.";
  const std::string notImplemented = "not implemented: the host does not know this method on this channel\n";
  const std::vector<Case> cases = {
      {{"assembly::getExecutingAssemblyPath"}, 0, quoted(host.executablePath()), ""},
      {{"assembly::getRDPBinaryExecutablePath"}, 0, quoted(""), ""},
      {{"--channel", "quillon.app/quillon/macos", "assembly::getTXBinaryExecutablePath",
        R"({"ignored": [1, 2.5, 3000000000, null, true]})"},
       0, quoted(host.dataPath() + "/pylonTX/pylonTX"), ""},
      {{"no::suchMethod"}, 2, notImplemented, ""},
      {{"--channel=elsewhere", "assembly::getExecutingAssemblyPath"}, 2, notImplemented, ""},
      {{}, 2, "", usage},
      {{"--bogus", "x"}, 2, "", usage},
      {{"method", "{not json"}, 2, "", usage},
      {{"method", "1", "2"}, 2, "", usage},
      {{"--channel"}, 2, "", usage},
      {{"--answer-close", "x"}, 2, "", usage},
      {{"--listen", "x"}, 2, "", usage},
      {{"assembly::\xFF"}, 2, "", "quillon-call: METHOD is not UTF-8\n" + usage},
      {{"--channel", "quillon.app/\xFF", "assembly::getExecutingAssemblyPath"}, 2, "",
       "quillon-call: the channel NAME is not UTF-8\n" + usage},
  };
  for (const Case& each : cases) {
    expectRun(each, runTool(QUILLON_CALL_BINARY, each.arguments, host.clientEnvironment(), host.directory()));
  }
  const ToolRun help = runTool(QUILLON_CALL_BINARY, {"--help"}, {}, host.directory());
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(help.output.starts_with("Usage:\n  quillon-call [--channel NAME] METHOD [JSON-ARGUMENTS]\n"));
  EXPECT_EQ(host.stop(), 0);
  EXPECT_EQ(host.output(), "Error: pylonRDP directory not found at path " + host.dataPath() + "/pylonRDP/pylonRDP\n");
}

// Each stand-in answers the first call with its payload; with none, quillon-call
// finds no host. The JSON arguments arrive as channel values, and the answers
// print as JSON, as the README says.
TEST(QuillonCallTest, PrintsWhatAStandInHostAnswersWithItsExitStatus) {
  const ScratchDirectory scratch;
  const std::string socket = scratch.path() + "/interface.sock";
  const ChildProcess::Environment environment{{"QUILLON_INTERFACE_SOCKET", socket}};
  const ChannelValue everyKind = argumentMap(
      {{"name", "x"}, {std::int32_t{3}, std::int64_t{1} << 40}, {"bytes", std::vector<std::uint8_t>{1, 255}},
       {"i32", std::vector<std::int32_t>{-1}}, {"i64", std::vector<std::int64_t>{}}, {"f32", std::vector<float>{0.5f}},
       {"f64", std::vector<double>{1.5, 2.0}}, {"nested", ChannelList{ChannelList{}, ChannelMap{}}}, {"quote", "a\"b"},
       {"none", nullptr}, {"no", false}, {"half", 0.5}, {"negative", std::int64_t{-5}}});
  struct Answer {
    std::vector<std::uint8_t> payload;
    MethodCall expectedCall;
    Case run;
  };
  const std::vector<Answer> answers{
      {StandardCodec::encodeReply(ChannelReply::error("UNAVAILABLE", "No window", ChannelList{std::int32_t{1}})),
       {"process::getMainWindowHandle", argumentMap({{"processId", std::int32_t{12}}})},
       {{"process::getMainWindowHandle", R"({"processId": 12})"}, 1,
        R"({"code":"UNAVAILABLE","message":"No window","details":[1]})" "\n", ""}},
      {StandardCodec::encodeReply(ChannelReply::success(everyKind)),
       {"m", argumentMap({{"z", std::int32_t{1}}, {"a", ChannelList{nullptr, true, "ä"}}, {"min32", std::int32_t{-2147483648}},
                    {"over32", std::int64_t{2147483648}}, {"min64", std::int64_t{INT64_MIN}},
                    {"huge", 18446744073709551615.0}, {"one", 1.0}, {"e", 2000.0}})},
       {{"--channel", "other", "m",
         R"({"z": 1, "a": [null, true, "ä"], "min32": -2147483648, "over32": 2147483648,)"
         R"( "min64": -9223372036854775808, "huge": 18446744073709551615, "one": 1.0, "e": 2e3})"}, 0,
        R"({"name":"x","3":1099511627776,"bytes":[1,255],"i32":[-1],"i64":[],"f32":[0.5],"f64":[1.5,2.0],)"
        R"("nested":[[],{}],"quote":"a\"b","none":null,"no":false,"half":0.5,"negative":-5})" "\n", ""}},
      {{9}, {"m", {}}, {{"m"}, 3, "", "the host's reply does not decode"}},
  };
  for (const Answer& answer : answers) {
    std::optional<MethodCall> received;
    ToolRun run;
    {
      ScriptedHost host(socket, [&](LinkClient& client) {
        if (const auto message = client.nextMessage(std::chrono::seconds(20)); message.hasValue()) {
          if (auto call = StandardCodec::decodeMethodCall(message->payload); call.hasValue()) received = *std::move(call);
          client.sendRaw(encodeReplyFrame(message->id, answer.payload));
        }
      });
      run = runTool(QUILLON_CALL_BINARY, answer.run.arguments, environment, scratch.path());
    }
    std::filesystem::remove(socket);
    expectRun(answer.run, run);
    EXPECT_EQ(received, answer.expectedCall);
  }
  expectRun({{"m"}, 3, "", "no host at " + socket}, runTool(QUILLON_CALL_BINARY, {"m"}, environment, scratch.path()));
}

}  // namespace
}  // namespace quillon::testing
