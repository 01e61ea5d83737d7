#include "traffic/call_summariser.h"

#include <charconv>
#include <type_traits>
#include <utility>
#include <variant>

#include "traffic/one_line_text.h"

namespace quillon {
namespace {

template <typename Number>
void appendNumber(OneLineText& line, Number number) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  line.append(std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

// "<N bytes>", "<hidden: N bytes>": a size in place of the bytes.
void appendSize(OneLineText& line, std::string_view what, std::size_t bytes) {
  line.append(what);
  appendNumber(line, bytes);
  line.append(bytes == 1 ? " byte>" : " bytes>");
}

void appendQuoted(OneLineText& line, std::string_view text) {
  line.append("\"");
  line.append(text, true);
  line.append("\"");
}

void appendValue(OneLineText& line, const ChannelValue& value);

template <typename Elements, typename Append>
void appendSequence(OneLineText& line, const Elements& elements, Append appendElement) {
  line.append("[");
  bool first = true;
  for (const auto& element : elements) {
    if (line.full()) return;
    if (!std::exchange(first, false)) line.append(", ");
    appendElement(element);
  }
  line.append("]");
}

void appendHidden(OneLineText& line, const ChannelValue& value) {
  if (const auto* text = value.getIf<std::string>()) return appendSize(line, "<hidden: ", text->size());
  if (const auto* bytes = value.getIf<std::vector<std::uint8_t>>()) return appendSize(line, "<hidden: ", bytes->size());
  line.append("<hidden>");
}

// A map's entries; those whose key `isSecret` names show their size alone.
template <typename IsSecret>
void appendMap(OneLineText& line, const ChannelMap& map, IsSecret isSecret) {
  line.append("{");
  bool first = true;
  for (const ChannelMap::Entry& entry : map) {
    if (line.full()) return;
    if (!std::exchange(first, false)) line.append(", ");
    appendValue(line, entry.key);
    line.append(": ");
    const std::string* name = entry.key.getIf<std::string>();
    if (name != nullptr && isSecret(*name)) {
      appendHidden(line, entry.value);
    } else {
      appendValue(line, entry.value);
    }
  }
  line.append("}");
}

void appendValue(OneLineText& line, const ChannelValue& value) {
  std::visit(
      [&line](const auto& held) {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          line.append("null");
        } else if constexpr (std::is_same_v<T, bool>) {
          line.append(held ? "true" : "false");
        } else if constexpr (std::is_same_v<T, std::string>) {
          appendQuoted(line, held);
        } else if constexpr (std::is_same_v<T, std::vector<std::uint8_t>>) {
          appendSize(line, "<", held.size());
        } else if constexpr (std::is_same_v<T, ChannelList>) {
          appendSequence(line, held, [&line](const ChannelValue& element) { appendValue(line, element); });
        } else if constexpr (std::is_same_v<T, ChannelMap>) {
          appendMap(line, held, [](const std::string&) { return false; });
        } else if constexpr (std::is_arithmetic_v<T>) {
          appendNumber(line, held);
        } else {
          appendSequence(line, held, [&line](auto element) { appendNumber(line, element); });
        }
      },
      value.variant());
}

}  // namespace

std::string CallSummariser::arguments(std::string_view channel, const MethodCall& call) const {
  if (call.arguments.isNull()) return {};
  OneLineText line(kArgumentsWidth);
  if (const auto* map = call.arguments.getIf<ChannelMap>()) {
    appendMap(line, *map, [&](const std::string& key) {
      for (const SecretArgument& secret : secrets_) {
        if (secret.key == key && secret.method == call.method && secret.channel == channel) return true;
      }
      return false;
    });
  } else {
    appendValue(line, call.arguments);
  }
  return std::move(line).take();
}

}  // namespace quillon
