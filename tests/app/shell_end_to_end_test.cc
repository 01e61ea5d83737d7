// The built host without a display, driven over the link as the interface
// would drive it.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "app/plugins/url_launcher_plugin.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

class HeadlessHostTest : public CatalogueEndToEndTest {
 protected:
  HeadlessHostTest() : CatalogueEndToEndTest({.headless = true}) {}
};

// A launcher that started the host and went away leaves it a standard output
// that nobody reads: the host's lines there are lost, the host is not.
TEST(HeadlessHostStartTest, PrintsToAStandardOutputWhoseReaderIsGoneAndGoesOn) {
  HostProcess host({.headless = true});
  const std::string output = host.directory() + "/host.out";
  ASSERT_EQ(::mkfifo(output.c_str(), 0600), 0) << std::strerror(errno);
  const int reader = ::open(output.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0) << std::strerror(errno);
  host.start();  // Returns once the host runs, its standard output open on the pipe.
  ::close(reader);
  ASSERT_TRUE(host.waitReady()) << host.errorOutput();
  const auto interface = connectTo(host);
  ASSERT_TRUE(interface);
  for (int line = 0; line < 3; ++line) {
    EXPECT_EQ(callHost(*interface, kNativeCommandChannel, "assembly::getTXBinaryExecutablePath"),
              ChannelReply::success(""));
  }
  EXPECT_EQ(host.stop(), 0);
}

TEST_F(HeadlessHostTest, TheWindowPluginAnswersUnavailable) {
  for (const char* method : {"showWindow", "hideWindow", "isWindowVisible", "getAppWindowHandle"}) {
    EXPECT_EQ(callHost(*client_, "bitsdojo/window", method),
              ChannelReply::error("UNAVAILABLE", "No main window: the host runs without a display"));
  }
}

// SIGINT, an interrupt from the terminal, is no request: it ends the host at once.
TEST_F(HeadlessHostTest, EachSystemRequestWhileGuardedOffersTheQuitOnceAndTheHostKeepsRunningUntilSigint) {
  for (int signal : {SIGTERM, SIGTERM, SIGHUP}) {
    host_.signal(signal);
    EXPECT_EQ(nextHostCall(*client_), kCloseRequest) << strsignal(signal);
    expectNoFurtherHostCalls(*client_);
    EXPECT_TRUE(running(host_));
  }
  host_.signal(SIGINT);
  EXPECT_EQ(host_.waitExit(kAnswerTime), 128 + SIGINT);
  EXPECT_EQ(nextHostCall(*client_, 0ms), std::nullopt);
}

// What a person at a terminal runs to complete the handshake: the request is
// offered to every connection, and quillon-call's answer ends the host with 0,
// its connections closed and its socket file removed.
TEST_F(HeadlessHostTest, QuillonCallAnsweringTheCloseRequestEndsTheHost) {
  ChildProcess listener(QUILLON_CALL_BINARY, {"--listen", "--answer-close"}, host_.clientEnvironment(),
                        host_.directory() + "/listener.out", host_.directory() + "/listener.err");
  // The listener is there once a second connection has been accepted, which
  // cannot be seen from here: the request is repeated until the host ends.
  ASSERT_TRUE(waitUntil([this] { return host_.signal(SIGTERM), host_.waitExit(100ms).has_value(); }, kAnswerTime));
  EXPECT_EQ(host_.waitExit(0ms), 0);
  EXPECT_EQ(nextHostCall(*client_), kCloseRequest);
  EXPECT_TRUE(client_->waitForClose(kAnswerTime));
  EXPECT_FALSE(fs::exists(host_.socketPath()));
  EXPECT_EQ(listener.waitExit(kAnswerTime), 0);
  EXPECT_TRUE(readFile(host_.directory() + "/listener.out")
                  .starts_with(R"({"channel":"app_close_channel","method":"onAppCloseRequested","arguments":null})"
                               "\n"));
}

// Without a session bus to reach a Secret Service on (its address is not even
// one), each secure-storage call is answered with GIO's reason, its bytes that
// are not UTF-8 repaired, and the host goes on.
TEST(SecureStorageEndToEndTest, WithoutASessionBusEachCallIsAnsweredWithTheReason) {
  auto host = startedHost({.headless = true, .environment = {{"DBUS_SESSION_BUS_ADDRESS", "caf\xE9:x=1"}}});
  const auto interface = connectTo(*host);
  ASSERT_TRUE(interface);
  for (const char* method : {"write", "read", "containsKey", "delete", "readAll", "deleteAll"}) {
    const ChannelReply reply = callHost(*interface, FlutterSecureStoragePlugin::kChannel, method,
                                        argumentMap({{"key", "a"}, {"value", "1"}}));
    ASSERT_TRUE(reply.isError()) << method;
    EXPECT_EQ(reply.error().code, "SECRET_STORE_ERROR");
    EXPECT_NE(reply.error().message.find("caf\uFFFD:x=1"), std::string::npos) << reply.error().message;
  }
  EXPECT_EQ(host->stop(), 0);
}

// The URL plug-in over the desktop's URL handlers, on a desktop configuration
// of the test's own: one handler, for "quillon-test", writes the URL it gets
// to a file.
TEST(UrlLauncherEndToEndTest, CanLaunchAndLaunchThroughTheDesktopsHandlers) {
  HostProcess host({.headless = true,
                    .environment = {{"XDG_DATA_HOME", std::nullopt}, {"XDG_CONFIG_HOME", std::nullopt},
                                    {"XDG_DATA_DIRS", "/nonexistent"}, {"XDG_CONFIG_DIRS", "/nonexistent"}}});
  const fs::path home = host.directory() + "/home", opened = host.directory() + "/opened";
  fs::create_directories(home / ".local/share/applications");
  fs::create_directories(home / ".config");
  std::ofstream(home / ".local/share/applications/quillon-test.desktop")
      << "[Desktop Entry]\nType=Application\nName=Quillon test handler\nNoDisplay=true\n"
      << "Exec=/bin/sh -c 'printf %s \"$1\" > " << opened.string() << "' sh %u\n"
      << "MimeType=x-scheme-handler/quillon-test;\n";
  std::ofstream(home / ".config/mimeapps.list")
      << "[Default Applications]\nx-scheme-handler/quillon-test=quillon-test.desktop\n";
  host.start();
  ASSERT_TRUE(host.waitReady()) << host.errorOutput();
  const auto interface = connectTo(host);
  ASSERT_TRUE(interface);
  const auto call = [&](const char* method, ChannelValue url) {
    return callHost(*interface, UrlLauncherPlugin::kChannel, method, argumentMap({{"url", std::move(url)}}));
  };

  EXPECT_EQ(call("canLaunch", "quillon-test://host/path"), ChannelReply::success(true));
  for (const char* url : {"quillon-nothing://host", "no scheme at all", ""}) {
    EXPECT_EQ(call("canLaunch", url), ChannelReply::success(false)) << url;
  }
  const ChannelReply failed = call("launch", "quillon-nothing://host");
  ASSERT_TRUE(failed.isError());
  EXPECT_EQ(failed.error().code, "Launch Error");
  EXPECT_TRUE(failed.error().message.starts_with("Failed to launch URL: ")) << failed.error().message;
  EXPECT_EQ(call("launch", std::int32_t{7}), ChannelReply::error("INVALID_ARGUMENT", "Expected url"));
  EXPECT_EQ(callHost(*interface, UrlLauncherPlugin::kChannel, "canLaunch", "quillon-test://host"),
            ChannelReply::error("INVALID_ARGUMENT", "Expected url"));
  EXPECT_TRUE(call("launchUrl", "quillon-test://host").isNotImplemented());
  EXPECT_FALSE(fs::exists(opened));

  EXPECT_EQ(call("launch", "quillon-test://host/path?x=1"), ChannelReply::success(true));
  EXPECT_TRUE(waitUntil([&] { return fs::exists(opened) && fs::file_size(opened) > 0; }, kAnswerTime));
  EXPECT_EQ(readFile(opened), "quillon-test://host/path?x=1");
}

}  // namespace
}  // namespace quillon::testing
