#include "app/plugins/url_launcher_plugin.h"

#include <gtest/gtest.h>

#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using testing::FakeMessenger;

class UrlLauncherPluginTest : public ::testing::Test {
 protected:
  UrlLauncherPluginTest() {
    host_.urls.schemes = {"https", "mailto"};
    window_.awakeFromNib();
  }

  ChannelReply call(const std::string& method, ChannelValue arguments) {
    return messenger_.deliver(UrlLauncherPlugin::kChannel, MethodCall{method, std::move(arguments)});
  }

  static ChannelValue url(ChannelValue value) {
    ChannelMap map;
    map.set("url", std::move(value));
    return map;
  }

  testing::FakeHostServices host_;
  FakeMessenger messenger_;
  MainFlutterWindow window_{nullptr, MainFlutterWindow::Setup{std::make_unique<testing::FakeEngine>(messenger_),
                                                               [] { return nullptr; }, host_.servicesFactory(),
                                                               host_.pluginServices()}};
};

TEST_F(UrlLauncherPluginTest, AnswersWhetherTheSchemeHasAnApplicationAndOpensOnlyOnLaunch) {
  EXPECT_EQ(call("canLaunch", url("https://quillon.app/help")), ChannelReply::success(true));
  EXPECT_EQ(call("canLaunch", url("rdp://server")), ChannelReply::success(false));
  EXPECT_TRUE(host_.urls.opened.empty());
  EXPECT_EQ(call("launch", url("mailto:help@quillon.app")), ChannelReply::success(true));
  EXPECT_EQ(host_.urls.opened, std::vector<std::string>{"mailto:help@quillon.app"});
}

TEST_F(UrlLauncherPluginTest, ALaunchThatFailsAnswersLaunchErrorWithTheReason) {
  const ChannelReply reply = call("launch", url("rdp://server"));
  ASSERT_TRUE(reply.isError());
  EXPECT_EQ(reply.error().code, "Launch Error");
  EXPECT_EQ(reply.error().message, "Failed to launch URL: no application for rdp://server");
}

TEST_F(UrlLauncherPluginTest, WithoutAStringUrlAnswersInvalidArgumentAndOpensNothing) {
  ChannelMap otherKey;
  otherKey.set("link", "https://quillon.app");
  for (const ChannelValue& arguments : {ChannelValue(), ChannelValue("https://quillon.app"), ChannelValue(otherKey),
                                        url(ChannelValue(std::int32_t{7})), url(ChannelValue())}) {
    for (const char* method : {"canLaunch", "launch"}) {
      EXPECT_EQ(call(method, arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected url")) << method;
    }
  }
  EXPECT_TRUE(host_.urls.opened.empty());
}

TEST_F(UrlLauncherPluginTest, OtherNamesAnswerNotImplemented) {
  for (const char* method : {"CanLaunch", "launchUrl", "closeWebView", ""}) {
    EXPECT_EQ(call(method, url("https://quillon.app")), ChannelReply::notImplemented()) << method;
  }
  EXPECT_TRUE(host_.urls.opened.empty());
}

}  // namespace
}  // namespace quillon
