// Decodes arbitrary bytes as a value, a method call and a reply envelope. What
// decodes must encode to bytes that decode to the same thing, and encoding
// those must give the same bytes again. The channel's own check and repair of
// text must agree with GLib's on the same bytes.
#include <glib.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "channel/standard_codec.h"
#include "channel/utf8_text.h"

namespace quillon {
namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

// Equal as the receiver sees them: an integer's width may narrow on the way
// (int64 values that fit go out as int32), and doubles compare by their bits
// so that NaN counts as equal to itself.
bool sameValue(const ChannelValue& a, const ChannelValue& b);

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

template <typename T>
bool sameElements(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

bool sameList(const ChannelList& a, const ChannelList& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!sameValue(a[i], b[i])) return false;
  }
  return true;
}

bool sameMap(const ChannelMap& a, const ChannelMap& b) {
  if (a.size() != b.size()) return false;
  for (auto left = a.begin(), right = b.begin(); left != a.end(); ++left, ++right) {
    if (!sameValue(left->key, right->key) || !sameValue(left->value, right->value)) return false;
  }
  return true;
}

bool sameValue(const ChannelValue& a, const ChannelValue& b) {
  if (a.asInteger() || b.asInteger()) return a.asInteger() == b.asInteger();
  if (a.variant().index() != b.variant().index()) return false;
  if (const auto* real = a.getIf<double>()) return sameBits(*real, b.get<double>());
  if (const auto* list = a.getIf<ChannelList>()) return sameList(*list, b.get<ChannelList>());
  if (const auto* map = a.getIf<ChannelMap>()) return sameMap(*map, b.get<ChannelMap>());
  if (const auto* floats = a.getIf<std::vector<float>>()) return sameElements(*floats, b.get<std::vector<float>>());
  if (const auto* doubles = a.getIf<std::vector<double>>()) {
    return sameElements(*doubles, b.get<std::vector<double>>());
  }
  return a == b;
}

// GLib refuses U+0000, which the channel takes as a character: its answers are
// asked for the bytes between NULs.
void checkTextAgainstGLib(std::span<const std::uint8_t> input) {
  std::string_view bytes(reinterpret_cast<const char*>(input.data()), input.size());
  const bool text = isUtf8Text(bytes);
  const std::string repaired = toUtf8Text(bytes);
  bool glibText = true;
  std::string glibRepaired;
  for (bool first = true;; first = false) {
    const std::string_view segment = bytes.substr(0, bytes.find('\0'));
    if (!first) glibRepaired.push_back('\0');
    glibText = glibText && g_utf8_validate_len(segment.data(), segment.size(), nullptr);
    g_autofree gchar* segmentRepaired = g_utf8_make_valid(segment.data(), static_cast<gssize>(segment.size()));
    glibRepaired += segmentRepaired;
    if (segment.size() == bytes.size()) break;
    bytes.remove_prefix(segment.size() + 1);
  }
  check(text == glibText);
  check(repaired == glibRepaired);
  check(isUtf8Text(repaired));
}

void roundTripValue(std::span<const std::uint8_t> input) {
  const auto value = StandardCodec::decodeValue(input);
  if (!value.hasValue()) return;
  const std::vector<std::uint8_t> encoded = StandardCodec::encodeValue(*value);
  const auto again = StandardCodec::decodeValue(encoded);
  check(again.hasValue());
  check(sameValue(*value, *again));
  check(StandardCodec::encodeValue(*again) == encoded);
}

void roundTripCall(std::span<const std::uint8_t> input) {
  const auto call = StandardCodec::decodeMethodCall(input);
  if (!call.hasValue()) return;
  const auto again = StandardCodec::decodeMethodCall(StandardCodec::encodeMethodCall(*call));
  check(again.hasValue());
  check(again->method == call->method && sameValue(again->arguments, call->arguments));
}

void roundTripReply(std::span<const std::uint8_t> input) {
  const auto reply = StandardCodec::decodeReply(input);
  if (!reply.hasValue()) return;
  const auto again = StandardCodec::decodeReply(StandardCodec::encodeReply(*reply));
  check(again.hasValue());
  check(again->isSuccess() == reply->isSuccess() && again->isError() == reply->isError());
  if (reply->isSuccess()) check(sameValue(again->value(), reply->value()));
  if (reply->isError()) {
    check(again->error().code == reply->error().code && again->error().message == reply->error().message);
    check(sameValue(again->error().details, reply->error().details));
  }
}

}  // namespace
}  // namespace quillon

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> input(data, size);
  quillon::checkTextAgainstGLib(input);
  quillon::roundTripValue(input);
  quillon::roundTripCall(input);
  quillon::roundTripReply(input);
  return 0;
}
