// quillon-call against the built host.
#include <gtest/gtest.h>

#include <filesystem>

#include "channel/standard_codec.h"
#include "tests/support/host_process.h"
#include "tests/support/scripted_host.h"

namespace quillon {
namespace {

using testing::HostProcess;
using testing::ScriptedHost;
using testing::runTool;
using testing::ToolRun;

class QuillonCallTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_ = new HostProcess({.helpers = true});
    host_->start();
    ASSERT_TRUE(host_->waitReady()) << host_->errorOutput();
  }
  static void TearDownTestSuite() { delete std::exchange(host_, nullptr); }

  ToolRun quillonCall(const std::vector<std::string>& arguments) {
    return runTool(QUILLON_CALL_BINARY, arguments, host_->clientEnvironment(), host_->directory());
  }

  static HostProcess* host_;
};

HostProcess* QuillonCallTest::host_ = nullptr;

TEST_F(QuillonCallTest, ASuccessPrintsTheValueAsJson) {
  const ToolRun run = quillonCall({"assembly::getTXBinaryExecutablePath"});
  EXPECT_EQ(run.status, 0) << run.errorOutput;
  EXPECT_EQ(run.output, "\"" + host_->dataPath() + "/pylonTX/pylonTX\"\n");
}

TEST_F(QuillonCallTest, ExplicitChannelAndIgnoredArguments) {
  const ToolRun run = quillonCall({"--channel", "quillon.app/quillon/macos", "assembly::getExecutingAssemblyPath",
                                   R"({"ignored": [1, 2.5, 3000000000, null, true]})"});
  EXPECT_EQ(run.status, 0) << run.errorOutput;
  EXPECT_EQ(run.output, "\"" + host_->executablePath() + "\"\n");
}

TEST_F(QuillonCallTest, ExitStatusesOfTheOtherOutcomes) {
  struct Case {
    std::vector<std::string> arguments;
    int status;
    std::string output;
  };
  const std::vector<Case> cases = {
      {{"no::suchMethod"}, 2, "not implemented: the host does not know this method on this channel\n"},
      {{"--channel=elsewhere", "assembly::getExecutingAssemblyPath"}, 2,
       "not implemented: the host does not know this method on this channel\n"},
      {{}, 2, ""},
      {{"--bogus", "x"}, 2, ""},
      {{"method", "{not json"}, 2, ""},
      {{"method", "1", "2"}, 2, ""},
      {{"--channel"}, 2, ""},
      {{"--answer-close", "x"}, 2, ""},
      {{"--listen", "x"}, 2, ""},
  };
  for (const auto& testCase : cases) {
    const ToolRun run = quillonCall(testCase.arguments);
    EXPECT_EQ(run.status, testCase.status) << ::testing::PrintToString(testCase.arguments);
    EXPECT_EQ(run.output, testCase.output) << ::testing::PrintToString(testCase.arguments);
    if (testCase.output.empty()) {
      EXPECT_NE(run.errorOutput, "");
    }
  }
}

TEST_F(QuillonCallTest, HelpDescribesTheCommandLine) {
  const ToolRun run = quillonCall({"--help"});
  EXPECT_EQ(run.status, 0);
  for (const char* word : {"--channel", "--listen", "--answer-close", "JSON-ARGUMENTS", "Exit status"}) {
    EXPECT_NE(run.output.find(word), std::string::npos) << word;
  }
}

// quillon-call against a scripted stand-in host, for answers and messages the
// real host does not give on its own.
class QuillonCallScriptedTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/quillon-call-XXXXXX";
    directory_ = ::mkdtemp(pattern);
  }
  void TearDown() override { std::filesystem::remove_all(directory_); }

  std::string socketPath() const { return directory_ + "/interface.sock"; }
  ToolRun quillonCall(const std::vector<std::string>& arguments) {
    return runTool(QUILLON_CALL_BINARY, arguments, {{"QUILLON_INTERFACE_SOCKET", socketPath()}}, directory_);
  }

  std::string directory_;
};

// Answers the first call with `reply` and records it.
ScriptedHost::Script answerWith(ChannelReply reply, std::optional<MethodCall>* received) {
  return [reply = std::move(reply), received](LinkClient& client) {
    std::string error;
    const auto message = client.nextMessage(std::chrono::seconds(20), &error);
    if (!message) return;
    *received = StandardCodec::decodeMethodCall(message->payload, &error);
    client.sendRaw(encodeReplyFrame(message->id, StandardCodec::encodeReply(reply)), &error);
  };
}

TEST_F(QuillonCallScriptedTest, AnErrorPrintsCodeMessageAndDetailsAndExitsOne) {
  std::optional<MethodCall> received;
  ToolRun run;
  {
    ScriptedHost host(socketPath(), answerWith(ChannelReply::error("UNAVAILABLE", "No window", ChannelList{std::int32_t{1}}),
                                               &received));
    run = quillonCall({"process::getMainWindowHandle", R"({"processId": 12})"});
  }
  EXPECT_EQ(run.status, 1) << run.errorOutput;
  EXPECT_EQ(run.output, R"({"code":"UNAVAILABLE","message":"No window","details":[1]})" "\n");
  ChannelMap arguments;
  arguments.set("processId", std::int32_t{12});
  EXPECT_EQ(received, (MethodCall{"process::getMainWindowHandle", arguments}));
}

TEST_F(QuillonCallScriptedTest, ResultsPrintAsJsonWithTypedListsAsArrays) {
  std::optional<MethodCall> received;
  ChannelMap result;
  result.set("pids", std::vector<std::int64_t>{1, 5000000000});
  result.set("ratio", 0.25);
  ToolRun run;
  {
    ScriptedHost host(socketPath(), answerWith(ChannelReply::success(result), &received));
    run = quillonCall({"--channel", "other", "m"});
  }
  EXPECT_EQ(run.status, 0) << run.errorOutput;
  EXPECT_EQ(run.output, R"({"pids":[1,5000000000],"ratio":0.25})" "\n");
}

TEST_F(QuillonCallScriptedTest, AReplyThatDoesNotDecodeExitsThree) {
  ToolRun run;
  {
    ScriptedHost host(socketPath(), [](LinkClient& client) {
      std::string error;
      const auto message = client.nextMessage(std::chrono::seconds(20), &error);
      if (message) client.sendRaw(encodeReplyFrame(message->id, std::vector<std::uint8_t>{9}), &error);
    });
    run = quillonCall({"m"});
  }
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.errorOutput.find("does not decode"), std::string::npos) << run.errorOutput;
}

TEST_F(QuillonCallScriptedTest, ListenPrintsEachMessageAndAnswersTheCloseRequest) {
  std::optional<MethodCall> answer;
  ToolRun run;
  {
    ScriptedHost host(socketPath(), [&answer](LinkClient& client) {
      std::string error;
      ChannelMap arguments;
      arguments.set("why", "test");
      client.sendRaw(encodeMessageFrame(0, "some_channel", StandardCodec::encodeMethodCall({"hello", arguments})), &error);
      client.sendRaw(encodeMessageFrame(0, "app_close_channel", StandardCodec::encodeMethodCall({"onAppCloseRequested", {}})),
                     &error);
      answerWith(ChannelReply::success(), &answer)(client);
    });  // The stand-in host then closes the connection.
    run = quillonCall({"--listen", "--answer-close"});
  }
  EXPECT_EQ(run.status, 0) << run.errorOutput;
  EXPECT_EQ(run.output,
            R"({"channel":"some_channel","method":"hello","arguments":{"why":"test"}})" "\n"
            R"({"channel":"app_close_channel","method":"onAppCloseRequested","arguments":null})" "\n");
  EXPECT_EQ(answer, (MethodCall{"forceQuitApp", {}}));
}

TEST_F(QuillonCallScriptedTest, NoHostExitsThree) {
  const ToolRun run = quillonCall({"assembly::getExecutingAssemblyPath"});
  EXPECT_EQ(run.status, 3);
  EXPECT_NE(run.errorOutput.find("no host at"), std::string::npos) << run.errorOutput;
}

}  // namespace
}  // namespace quillon
