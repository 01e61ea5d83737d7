#include "commands/window_commands.h"

#include "commands/argument_limits.h"
#include "commands/command_arguments.h"
#include "commands/command_replies.h"
#include "window/application_window.h"

namespace quillon {

namespace {

ChannelValue toChannelValue(const WindowRect& rect) {
  ChannelMap map;
  map.appendUnique("top", rect.top);
  map.appendUnique("left", rect.left);
  map.appendUnique("bottom", rect.bottom);
  map.appendUnique("right", rect.right);
  return map;
}

ChannelValue toChannelValue(const std::optional<ScreenDimensions>& dimensions) {
  ChannelMap map;
  if (dimensions) {
    map.appendUnique("width", dimensions->width);
    map.appendUnique("height", dimensions->height);
  }
  return map;
}

CommandHandler getWindowRect(const WindowServices& services, BlockingWork& blocking) {
  return [&services, &blocking](const MethodCall& call, ReplyCallback reply) {
    const auto arguments = CommandArguments::from(call.arguments);
    const auto processId = arguments ? arguments->integer("processId") : std::nullopt;
    if (!processId) return answerInvalidArgument(std::move(reply), "Expected windowHandle");
    blocking.run(std::move(reply), [&services, processId = *processId] {
      const auto rect = ApplicationWindow::getWindowRect(services, processId);
      return ChannelReply::success(rect ? toChannelValue(*rect) : ChannelValue());
    });
  };
}

CommandHandler showWindow(const WindowServices& services) {
  return [&services](const MethodCall& call, ReplyCallback reply) {
    const auto arguments = CommandArguments::from(call.arguments);
    const auto windowHandle = arguments ? arguments->integer("windowHandle") : std::nullopt;
    const auto command = arguments ? arguments->integer("command") : std::nullopt;
    if (!windowHandle || !command) return answerInvalidArgument(std::move(reply), "Expected windowHandle and command");
    std::move(reply).success(ApplicationWindow::showWindow(services, *windowHandle, *command));
  };
}

CommandHandler getScreenBounds(const WindowServices& services) {
  return [&services](const MethodCall&, ReplyCallback reply) {
    std::move(reply).success(toChannelValue(ApplicationWindow::getScreenBounds(services)));
  };
}

CommandHandler getScreenWorkingAreaDimensions(const WindowServices& services) {
  return [&services](const MethodCall&, ReplyCallback reply) {
    std::move(reply).success(toChannelValue(ApplicationWindow::getScreenWorkingAreaDimensions(services)));
  };
}

// The alert is built on a later turn of the main queue; the null answer leaves
// first and says nothing about it. A "timeout" that is not an integer counts as 0,
// but the key itself must be there.
CommandHandler showAlert(const WindowServices& services) {
  return [&services](const MethodCall& call, ReplyCallback reply) {
    const auto arguments = CommandArguments::from(call.arguments);
    const std::string* title = arguments ? arguments->string("title") : nullptr;
    const std::string* message = arguments ? arguments->string("message") : nullptr;
    const ChannelValue* timeout = arguments ? arguments->present("timeout") : nullptr;
    if (!title || !message || !timeout) return answerInvalidArgument(std::move(reply), "Expected title and message");
    if (refuseBeyondLimit(kAlertTitleLimit, *title, reply) || refuseBeyondLimit(kAlertMessageLimit, *message, reply)) {
      return;
    }
    ApplicationWindow::showAlert(services, *title, *message, timeout->asInteger().value_or(0));
    std::move(reply).success();
  };
}

}  // namespace

CommandList windowCommands(const WindowServices& services, BlockingWork& blocking) {
  return {
      {"window::getWindowRect", getWindowRect(services, blocking)},
      {"window::showWindow", showWindow(services)},
      {"window::getScreenBounds", getScreenBounds(services)},
      {"window::getScreenWorkingAreaDimensions", getScreenWorkingAreaDimensions(services)},
      {"window::showAlert", showAlert(services)},
  };
}

}  // namespace quillon
