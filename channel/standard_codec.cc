#include "channel/standard_codec.h"

#include <cstdio>

#include "channel/standard_codec_reader.h"
#include "channel/standard_codec_types.h"
#include "channel/standard_codec_writer.h"

namespace quillon {

void codec::reportStringNotText() {
  std::fputs("quillon-host: programming error: a string that is not UTF-8 was about to leave the host; "
             "sent with U+FFFD in place of its ill-formed bytes\n",
             stderr);
}

using codec::StandardCodecReader;

std::vector<std::uint8_t> StandardCodec::encodeValue(const ChannelValue& value) {
  return codec::encodeMessage([&value](auto& writer) { writer.value(value); });
}

// The decoders read into the result they return, which is then not moved.
Expected<ChannelValue> StandardCodec::decodeValue(std::span<const std::uint8_t> bytes) {
  StandardCodecReader reader(bytes);
  Expected<ChannelValue> value = ChannelValue();
  if (!reader.readValue(*value) || !reader.finish()) value = reader.failure();
  return value;
}

std::vector<std::uint8_t> StandardCodec::encodeMethodCall(const MethodCall& call) {
  return codec::encodeMessage([&call](auto& writer) {
    writer.string(call.method);
    writer.value(call.arguments);
  });
}

Expected<MethodCall> StandardCodec::decodeMethodCall(std::span<const std::uint8_t> bytes) {
  StandardCodecReader reader(bytes);
  Expected<MethodCall> call = MethodCall();
  if (!reader.readString(call->method, "method name") || !reader.readValue(call->arguments) || !reader.finish()) {
    call = reader.failure();
  }
  return call;
}

std::vector<std::uint8_t> StandardCodec::encodeReply(const ChannelReply& reply) {
  if (reply.isNotImplemented()) return {};
  return codec::encodeMessage([&reply](auto& writer) {
    if (reply.isSuccess()) {
      writer.byte(codec::kEnvelopeSuccess);
      writer.value(reply.value());
      return;
    }
    const ChannelError& error = reply.error();
    writer.byte(codec::kEnvelopeError);
    writer.string(error.code);
    writer.string(error.message);
    writer.value(error.details);
  });
}

namespace {

constexpr bool kNullable = true;

Expected<ChannelReply> readErrorEnvelope(StandardCodecReader& reader) {
  std::string code;
  std::string message;
  ChannelValue details;
  if (!reader.readString(code, "error code") || !reader.readString(message, "error message", kNullable) ||
      !reader.readValue(details)) {
    return reader.failure();
  }
  std::string ignoredStackTrace;
  if (!reader.atEnd() && !reader.readString(ignoredStackTrace, "error stack trace", kNullable)) {
    return reader.failure();
  }
  if (!reader.finish()) return reader.failure();
  return ChannelReply::error(std::move(code), std::move(message), std::move(details));
}

}  // namespace

Expected<ChannelReply> StandardCodec::decodeReply(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return ChannelReply::notImplemented();
  StandardCodecReader reader(bytes);
  std::uint8_t kind = 0;
  reader.readByte(kind);
  if (kind == codec::kEnvelopeError) return readErrorEnvelope(reader);
  if (kind != codec::kEnvelopeSuccess) {
    reader.failAt("unknown envelope kind " + std::to_string(kind), 0);
    return reader.failure();
  }
  ChannelValue value;
  if (!reader.readValue(value) || !reader.finish()) return reader.failure();
  return ChannelReply::success(std::move(value));
}

}  // namespace quillon
