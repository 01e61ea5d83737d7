// quillon-call: one call to the host over the interface link, or a listener for
// what the host sends. See usageText() for the options and exit statuses.
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "channel/channel_names.h"
#include "channel/standard_codec.h"
#include "channel/utf8_text.h"
#include "embedding/engine.h"
#include "tools/json_value.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

enum ExitStatus : int {
  kSuccess = 0,
  kErrorReply = 1,
  kNotImplemented = 2,
  kUsage = 2,
  kLinkFailure = 3,
};

constexpr std::string_view kUsageText = R"(Usage:
  quillon-call [--channel NAME] METHOD [JSON-ARGUMENTS]
  quillon-call --listen [--answer-close]
  quillon-call --help

Sends METHOD with the arguments given as JSON (none: null) to the host over the
interface link and prints the answer as JSON on standard output:
  success           the result value                                exit 0
  error             {"code": ..., "message": ..., "details": ...}   exit 1
  not-implemented   a line saying so                                exit 2
JSON integers go as 32-bit integers when they fit, else 64-bit; other numbers
go as doubles; objects go as maps with string keys.

Options:
  --channel NAME   the channel of the call (default "quillon.app/quillon/macos")
  --listen         stay connected and print each message the host sends, one
                   JSON object per line: {"channel", "method", "arguments"}
  --answer-close   with --listen: answer "onAppCloseRequested" on
                   "app_close_channel" by calling "forceQuitApp" there
  --help           this text

The socket is $QUILLON_INTERFACE_SOCKET if set, else
$XDG_RUNTIME_DIR/quillon-host/interface.sock, else
/tmp/quillon-host-<uid>/interface.sock.

Connecting waits at most 10 s for the host to take the connection, and only
a host of this user is called. A call waits for its answer.

Exit status: 0 success (or --listen ended by the host), 1 error answer,
2 not-implemented answer or a usage error, 3 no host (none that takes the
connection in time, or a program of another user on the socket), a lost
connection or an answer that does not decode.
)";

struct Options {
  std::string channel = kNativeCommandChannel;
  bool listen = false;
  bool answerClose = false;
  std::string method;
  ChannelValue arguments;
};

int usageError(const std::string& message) {
  std::cerr << "quillon-call: " << message << "\nTry 'quillon-call --help'.\n";
  return kUsage;
}

// The options, or the exit status when there is nothing to run.
std::variant<Options, int> parseOptions(const std::vector<std::string_view>& words) {
  Options options;
  std::vector<std::string_view> positional;
  for (std::size_t index = 0; index < words.size(); ++index) {
    const std::string_view word = words[index];
    if (word == "--help") {
      std::cout << kUsageText;
      return kSuccess;
    }
    if (word == "--listen") {
      options.listen = true;
    } else if (word == "--answer-close") {
      options.answerClose = true;
    } else if (word == "--channel") {
      if (++index == words.size()) return usageError("--channel needs a NAME");
      options.channel = words[index];
    } else if (word.starts_with("--channel=")) {
      options.channel = word.substr(std::string_view("--channel=").size());
    } else if (word.starts_with("--") && word.size() > 2) {
      return usageError("unknown option " + std::string(word));
    } else {
      positional.push_back(word);
    }
  }
  if (options.answerClose && !options.listen) return usageError("--answer-close goes with --listen");
  // Words of the command line are any bytes; the channel carries only text.
  if (!isUtf8Text(options.channel)) return usageError("the channel NAME is not UTF-8");
  if (options.listen) {
    if (!positional.empty()) return usageError("--listen takes no METHOD");
    return options;
  }
  if (positional.empty()) return usageError("missing METHOD");
  if (positional.size() > 2) return usageError("too many arguments: JSON-ARGUMENTS must be one word (quote it)");
  options.method = positional[0];
  if (!isUtf8Text(options.method)) return usageError("METHOD is not UTF-8");
  if (positional.size() == 2) {
    const auto json = OrderedJson::parse(positional[1], nullptr, false);
    if (json.is_discarded()) return usageError("JSON-ARGUMENTS is not valid JSON: " + std::string(positional[1]));
    options.arguments = valueFromJson(json);
  }
  return options;
}

int linkFailure(const Failure& failure) {
  std::cerr << "quillon-call: " << failure.reason << '\n';
  return kLinkFailure;
}

int printReply(const ChannelReply& reply) {
  if (reply.isNotImplemented()) {
    std::cout << "not implemented: the host does not know this method on this channel\n";
    return kNotImplemented;
  }
  if (reply.isError()) {
    const ChannelError& error = reply.error();
    OrderedJson object = {{"code", error.code}, {"message", error.message}, {"details", jsonFromValue(error.details)}};
    std::cout << object.dump() << '\n';
    return kErrorReply;
  }
  std::cout << jsonFromValue(reply.value()).dump() << '\n';
  return kSuccess;
}

int runCall(LinkClient& client, const Options& options) {
  const auto reply = client.call(options.channel, MethodCall{options.method, options.arguments}, LinkClient::kForever);
  if (!reply.hasValue()) return linkFailure(reply.error());
  return printReply(*reply);
}

void answerClose(LinkClient& client) {
  const auto reply = client.call(kAppCloseChannel, MethodCall{"forceQuitApp", {}}, LinkClient::kForever);
  if (!reply.hasValue()) {
    std::cerr << "quillon-call: forceQuitApp: " << reply.error().reason << '\n';
  } else if (!reply->isSuccess()) {
    std::cerr << "quillon-call: forceQuitApp answered " << describe(*reply) << '\n';
  }
}

int runListen(LinkClient& client, const Options& options) {
  for (;;) {
    const auto message = client.nextMessage(LinkClient::kForever);
    if (!message.hasValue()) return client.hostClosed() ? kSuccess : linkFailure(message.error());
    const auto call = StandardCodec::decodeMethodCall(message->payload);
    if (!call.hasValue()) {
      std::cerr << "quillon-call: a message on " << message->channel << " does not decode: " << call.error().reason
                << '\n';
      continue;
    }
    OrderedJson line = {{"channel", message->channel}, {"method", call->method}, {"arguments", jsonFromValue(call->arguments)}};
    std::cout << line.dump() << std::endl;
    if (options.answerClose && message->channel == kAppCloseChannel && call->method == "onAppCloseRequested") {
      answerClose(client);
    }
  }
}

int run(const std::vector<std::string_view>& words) {
  const auto parsed = parseOptions(words);
  if (const int* status = std::get_if<int>(&parsed)) return *status;
  const Options& options = std::get<Options>(parsed);
  const auto client = LinkClient::connect(Engine::interfaceSocketPath());
  if (!client.hasValue()) return linkFailure(Failure{client.error().reason});
  return options.listen ? runListen(**client, options) : runCall(**client, options);
}

}  // namespace
}  // namespace quillon

int main(int argc, char** argv) {
  return quillon::run(std::vector<std::string_view>(argv + 1, argv + argc));
}
