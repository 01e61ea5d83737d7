// The whole command surface under arbitrary input: the shell is built as the
// host builds it (main window, native command channel with the 24 commands,
// plug-ins, the close channel), over a platform that answers whatever the
// input says, and the input then becomes method calls: catalogue names, names
// one slip away from them, any text; arguments of every codec type, with the
// commands' own keys or without; now and then bytes that are no call at all.
// Every call must be answered exactly once, before its handler returns, with
// bytes that decode, in the shape its command documents. The platform's tools
// and handle lookup refuse any process id outside the possible ones
// (fuzzed_platform.h).
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string_view>
#include <vector>

#include "app/app_delegate.h"
#include "app/application.h"
#include "app/main_flutter_window.h"
#include "app/view_engine.h"
#include "channel/channel_names.h"
#include "channel/standard_codec.h"
#include "channel/utf8_text.h"
#include "fuzz/fuzzed_platform.h"
#include "process/process_manager.h"
#include "tests/support/inline_background_work.h"

namespace quillon::fuzzing {
namespace {

// What a command may answer: its success value, and the errors it documents.
enum class Success { kIntegerList, kInteger, kBoolean, kString, kUnknown, kRectOrNull, kSize, kSizeOrEmpty, kNull };

struct CommandShape {
  std::string_view name;
  Success success;
  std::string_view invalidArgument;  // the "INVALID_ARGUMENT" message; empty: the command takes no arguments
  std::string_view unavailable;      // the "UNAVAILABLE" message; empty: none
};

constexpr std::array<CommandShape, 24> kCommands{{
    {"process::getProcessIdList", Success::kIntegerList, "", ""},
    {"process::getCurrentProcessId", Success::kInteger, "", ""},
    {"process::getProcessesByName", Success::kIntegerList, "Expected process name", ""},
    {"process::isAlive", Success::kBoolean, "Expected processId", ""},
    {"process::getMainWindowHandle", Success::kString, "Expected processId", "Main window handle not found"},
    {"process::getMainWindowTitle", Success::kString, "Expected processId", "Main window title not found"},
    {"process::closeWindow", Success::kBoolean, "Expected processId", ""},
    {"process::killProcess", Success::kBoolean, "Expected processId", ""},
    {"process::getProcessName", Success::kString, "Expected processId", ""},
    {"process::getProcessFileName", Success::kString, "Expected processId", ""},
    {"process::getProcessLaunchArguments", Success::kString, "Expected processId", ""},
    {"process::getProcessWorkingDirectory", Success::kUnknown, "Expected processId", ""},
    {"window::getWindowRect", Success::kRectOrNull, "Expected windowHandle", ""},
    {"window::showWindow", Success::kBoolean, "Expected windowHandle and command", ""},
    {"window::getScreenBounds", Success::kSize, "", ""},
    {"window::getScreenWorkingAreaDimensions", Success::kSizeOrEmpty, "", ""},
    {"window::showAlert", Success::kNull, "Expected title and message", ""},
    {"ssl::isCertificateAvailable", Success::kBoolean, "Expected subject and expirationDate", ""},
    {"ssl::addCertificate", Success::kBoolean, "Expected certificate", ""},
    {"ssl::getMacAddress", Success::kString, "", ""},
    {"ssl::getPlatformUUID", Success::kString, "", ""},
    {"assembly::getExecutingAssemblyPath", Success::kString, "", ""},
    {"assembly::getRDPBinaryExecutablePath", Success::kString, "", ""},
    {"assembly::getTXBinaryExecutablePath", Success::kString, "", ""},
}};

constexpr std::array<std::string_view, 10> kArgumentKeys{"processId", "name",    "windowHandle", "command",
                                                          "title",     "message", "timeout",      "subject",
                                                          "expirationDate", "certificate"};

// Ids at the edges of what a process id can be, and of what 32 bits hold.
constexpr std::array<std::int64_t, 10> kEdgeIds{
    0, 1, -1, 2147483647, 2147483648, 4294967295, 4294967296, 4294967297, INT64_MAX, INT64_MIN};

class RecordingMessenger final : public BinaryMessenger {
 public:
  void send(std::string_view, std::vector<std::uint8_t> message) override {
    check(StandardCodec::decodeMethodCall(message).hasValue());
  }
  void setMessageHandler(std::string channel, MessageHandler handler) override {
    handlers_.insert_or_assign(std::move(channel), std::move(handler));
  }

  // Every answer the message got while its handler ran.
  std::vector<std::vector<std::uint8_t>> deliver(const std::string& channel, std::span<const std::uint8_t> message) {
    std::vector<std::vector<std::uint8_t>> answers;
    const auto handler = handlers_.find(channel);
    check(handler != handlers_.end());
    handler->second(message, BinaryReply([&answers](std::vector<std::uint8_t> payload) {
                      answers.push_back(std::move(payload));
                    }));
    return answers;
  }

 private:
  std::map<std::string, MessageHandler> handlers_;
};

class MessengerEngine final : public ViewEngine {
 public:
  explicit MessengerEngine(BinaryMessenger& messenger) : messenger_(messenger) {}
  BinaryMessenger& binaryMessenger() override { return messenger_; }

 private:
  BinaryMessenger& messenger_;
};

class RecordingLoop final : public MainLoop {
 public:
  int run() override { return 0; }
  void quit(int) override {}
};

std::string anyText(const FuzzInput& input) { return toUtf8Text(input.bytes()); }

ChannelValue anyValue(const FuzzInput& input, int depth);

ChannelValue anyInteger(const FuzzInput& input) {
  if (input.chance()) return input.get().PickValueInArray(kEdgeIds);
  if (input.chance()) return input.get().ConsumeIntegral<std::int32_t>();
  return input.get().ConsumeIntegral<std::int64_t>();
}

ChannelValue anyContainer(const FuzzInput& input, int depth) {
  const std::size_t count = input.get().ConsumeIntegralInRange<std::size_t>(0, 3);
  if (input.chance()) {
    ChannelList list;
    for (std::size_t index = 0; index < count; ++index) list.push_back(anyValue(input, depth + 1));
    return list;
  }
  ChannelMap map;
  for (std::size_t index = 0; index < count; ++index) map.set(anyValue(input, depth + 1), anyValue(input, depth + 1));
  return map;
}

ChannelValue anyValue(const FuzzInput& input, int depth) {
  switch (input.get().ConsumeIntegralInRange(0, 9)) {
    case 0: return ChannelValue();
    case 1: return input.chance();
    case 2: return anyInteger(input);
    case 3: return input.anyDouble();
    case 4: return anyText(input);
    case 5: return std::vector<std::uint8_t>(2, input.get().ConsumeIntegral<std::uint8_t>());
    case 6: return std::vector<std::int32_t>{input.get().ConsumeIntegral<std::int32_t>()};
    case 7: return std::vector<std::int64_t>{input.get().ConsumeIntegral<std::int64_t>()};
    case 8: return std::vector<double>{input.anyDouble()};
    default: return depth < 3 ? anyContainer(input, depth) : ChannelValue();
  }
}

// A value that the key's command may well accept.
ChannelValue likelyValue(const FuzzInput& input, std::string_view key) {
  if (key == "expirationDate" && input.chance()) {
    return input.get().PickValueInArray({"2030-01-01T00:00:00Z", "2025-03-31T23:59:59+02:00", "2030-01-01T00:00:00.000Z"});
  }
  if (key == "processId" || key == "windowHandle" || key == "command" || key == "timeout") return anyInteger(input);
  return anyText(input);
}

ChannelValue anyArguments(const FuzzInput& input) {
  if (input.chance()) return anyValue(input, 0);
  ChannelMap arguments;
  for (std::size_t count = input.get().ConsumeIntegralInRange<std::size_t>(0, 4); count > 0; --count) {
    const std::string_view key = input.get().PickValueInArray(kArgumentKeys);
    arguments.set(std::string(key), input.chance() ? likelyValue(input, key) : anyValue(input, 0));
  }
  return arguments;
}

// A catalogue name, one slip away from one, or any text.
std::string anyCommandName(const FuzzInput& input) {
  std::string name(input.get().PickValueInArray(kCommands).name);
  switch (input.get().ConsumeIntegralInRange(0, 5)) {
    case 0: return anyText(input);
    case 1: {
      char& letter = name[input.get().ConsumeIntegralInRange<std::size_t>(0, name.size() - 1)];
      letter = static_cast<char>(letter ^ 0x20);
      return name;
    }
    case 2: return name + " ";
    case 3: return "window::" + name.substr(name.find("::") + 2);
    default: return name;
  }
}

const CommandShape* shapeOf(std::string_view name) {
  for (const CommandShape& shape : kCommands) {
    if (shape.name == name) return &shape;
  }
  return nullptr;
}

bool isIntegerList(const ChannelValue& value) {
  const auto* list = value.getIf<ChannelList>();
  if (list == nullptr) return false;
  for (const ChannelValue& element : *list) {
    if (!element.asInteger()) return false;
  }
  return true;
}

// A map of exactly these keys, in this order, each an integer.
bool isIntegerMap(const ChannelValue& value, std::initializer_list<std::string_view> keys) {
  const auto* map = value.getIf<ChannelMap>();
  if (map == nullptr || map->size() != keys.size()) return false;
  auto entry = map->begin();
  for (const std::string_view key : keys) {
    const auto* text = entry->key.getIf<std::string>();
    if (text == nullptr || *text != key || !entry->value.asInteger()) return false;
    ++entry;
  }
  return true;
}

bool isSuccessShape(Success success, const ChannelValue& value) {
  switch (success) {
    case Success::kIntegerList: return isIntegerList(value);
    case Success::kInteger: return value.asInteger().has_value();
    case Success::kBoolean: return value.is<bool>();
    case Success::kString: return value.is<std::string>();
    case Success::kUnknown: return value == ChannelValue("Unknown");
    case Success::kRectOrNull: return value.isNull() || isIntegerMap(value, {"top", "left", "bottom", "right"});
    case Success::kSize: return isIntegerMap(value, {"width", "height"});
    case Success::kSizeOrEmpty: return isIntegerMap(value, {"width", "height"}) || isIntegerMap(value, {});
    case Success::kNull: return value.isNull();
  }
  return false;
}

bool isDocumentedError(const ChannelError& error, std::string_view code, std::string_view message) {
  return !message.empty() && error.code == code && error.message == message && error.details.isNull();
}

void checkCommandAnswer(const std::string& name, const ChannelReply& reply) {
  const CommandShape* shape = shapeOf(name);
  if (shape == nullptr) return check(reply.isNotImplemented());
  if (reply.isSuccess()) return check(isSuccessShape(shape->success, reply.value()));
  check(reply.isError());
  check(isDocumentedError(reply.error(), "INVALID_ARGUMENT", shape->invalidArgument) ||
        isDocumentedError(reply.error(), "UNAVAILABLE", shape->unavailable));
}

void checkCloseAnswer(const std::string& name, const ChannelReply& reply) {
  check(name == "forceQuitApp" ? reply == ChannelReply::success() : reply.isNotImplemented());
}

bool isBadMessage(const ChannelReply& reply) { return reply.isError() && reply.error().code == "BAD_MESSAGE"; }

// One message from the interface, and the one answer it must get.
void callOnce(const FuzzInput& input, FuzzedPlatform& platform, RecordingMessenger& messenger) {
  const bool close = input.get().ConsumeIntegralInRange(0, 7) == 0;
  const std::string channel = close ? kAppCloseChannel : kNativeCommandChannel;
  const std::string name = close ? input.get().PickValueInArray({"forceQuitApp", "onAppCloseRequested", "ForceQuitApp"})
                                 : anyCommandName(input);
  const bool raw = input.get().ConsumeIntegralInRange(0, 15) == 0;
  const std::string rawBytes = raw ? input.bytes(32) : std::string();
  const std::vector<std::uint8_t> message = raw ? std::vector<std::uint8_t>(rawBytes.begin(), rawBytes.end())
                                                 : StandardCodec::encodeMethodCall(MethodCall{name, anyArguments(input)});

  const auto answers = messenger.deliver(channel, message);
  check(answers.size() == 1);
  platform.mainQueue.runAll();
  const auto reply = StandardCodec::decodeReply(answers.front());
  check(reply.hasValue());
  const auto call = StandardCodec::decodeMethodCall(message);
  if (!call.hasValue()) return check(isBadMessage(*reply));
  if (close) return checkCloseAnswer(call->method, *reply);
  checkCommandAnswer(call->method, *reply);
}

void runShell(const FuzzInput& input) {
  FuzzedPlatform platform(input);
  testing::InlineBlockingWork work;
  RecordingMessenger messenger;
  AppDelegate delegate;
  RecordingLoop loop;
  Application application(delegate, loop);
  MainFlutterWindow window(
      nullptr, MainFlutterWindow::Setup{
                   std::make_unique<MessengerEngine>(messenger),
                   [&platform] { return std::make_unique<ProcessManager>(platform.process); },
                   [&platform, &work](std::function<ProcessManager&()> processManager) {
                     return CommandServices{std::move(processManager), platform.window, platform.identity,
                                            platform.bundleEnvironment, work.blocking};
                   },
                   platform.pluginServices,
               });
  application.setMainFlutterWindow(&window);
  window.awakeFromNib();
  application.finishLaunching();
  for (int calls = 0; calls < 16 && input.get().remaining_bytes() > 0; ++calls) callOnce(input, platform, messenger);
  application.setMainFlutterWindow(nullptr);
}

}  // namespace
}  // namespace quillon::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  quillon::fuzzing::runShell(quillon::fuzzing::FuzzInput{&provider});
  return 0;
}
