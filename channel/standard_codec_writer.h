// StandardCodecWriter: writes values in the standard codec's wire format into a
// sink. The same writer runs twice per message: once over a CountingSink to
// learn the exact size, once over a BufferSink into bytes of that size, so
// that encoding allocates once and never checks for room. Strings are checked
// to be UTF-8 once: the counting pass checks each, and the writing pass checks
// them again only when the counting pass found one that was not.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "channel/channel_value.h"
#include "channel/standard_codec_types.h"
#include "channel/utf8_text.h"

namespace quillon::codec {

// Says on standard error that a string that is not UTF-8 was repaired on its way out.
void reportStringNotText();

// Counts the bytes that a message would take; `position` is where it starts.
class CountingSink {
 public:
  std::size_t position() const { return position_; }
  void put(const void*, std::size_t count) { position_ += count; }
  void zeros(std::size_t count) { position_ += count; }
  bool isText(std::string_view string) {
    const bool text = isUtf8Text(string);
    allText_ = allText_ && text;
    return text;
  }
  // Whether every string counted was text as it stood.
  bool allText() const { return allText_; }

 private:
  std::size_t position_ = 0;
  bool allText_ = true;
};

// Writes into bytes sized beforehand by a CountingSink run; the caller keeps
// the bytes. Padding needs no writing: the bytes start out zero.
class BufferSink {
 public:
  // `allText`: the counting pass found every string to be text, so none needs checking again.
  BufferSink(std::span<std::uint8_t> bytes, bool allText)
      : begin_(bytes.data()), cursor_(bytes.data()), allText_(allText) {}
  std::size_t position() const { return static_cast<std::size_t>(cursor_ - begin_); }
  bool isText(std::string_view string) const { return allText_ || isUtf8Text(string); }
  void put(const void* data, std::size_t count) {
    if (count == 0) return;
    std::memcpy(cursor_, data, count);
    cursor_ += count;
  }
  void zeros(std::size_t count) { cursor_ += count; }

 private:
  std::uint8_t* begin_;
  std::uint8_t* cursor_;
  bool allText_;
};

template <typename Sink>
class StandardCodecWriter {
 public:
  explicit StandardCodecWriter(Sink& sink) : sink_(sink) {}

  void value(const ChannelValue& value) {
    std::visit([this](const auto& held) { this->write(held); }, value.variant());
  }
  void string(std::string_view text) {
    if (!sink_.isText(text)) [[unlikely]] return notText(text);
    type(TypeByte::kString);
    size(text.size());
    sink_.put(text.data(), text.size());
  }
  void byte(std::uint8_t raw) { sink_.put(&raw, 1); }

 private:
  void type(TypeByte type) { byte(static_cast<std::uint8_t>(type)); }
  template <typename T>
  void number(T number) {
    sink_.put(&number, sizeof number);
  }
  // Sizes of 4 GiB and more cannot be written; no message comes near that
  // (a link frame is at most 64 MiB).
  void size(std::size_t count) {
    if (count < kSize16) {
      byte(static_cast<std::uint8_t>(count));
    } else if (count <= std::numeric_limits<std::uint16_t>::max()) {
      byte(kSize16);
      number(static_cast<std::uint16_t>(count));
    } else {
      byte(kSize32);
      number(static_cast<std::uint32_t>(count));
    }
  }
  // No interface could decode these bytes, so they never leave as they are. Each
  // source of text decides what its bytes that are not text become; reaching
  // this point means one did not, a bug of ours: debug builds stop here, release
  // builds say so on standard error and send U+FFFD for each ill-formed sequence.
  void notText(std::string_view bytes) {
    assert(false && "a string that is not UTF-8 was about to leave the host");
    if constexpr (std::is_same_v<Sink, CountingSink>) reportStringNotText();
    const std::string text = toUtf8Text(bytes);
    string(text);
  }
  void align(std::size_t alignment) {
    const std::size_t misalignment = sink_.position() % alignment;
    if (misalignment != 0) sink_.zeros(alignment - misalignment);
  }

  void write(std::monostate) { type(TypeByte::kNull); }
  void write(bool flag) { type(flag ? TypeByte::kTrue : TypeByte::kFalse); }
  void write(std::int32_t integer) {
    type(TypeByte::kInt32);
    number(integer);
  }
  // As the Dart side does: an integer that fits in 32 bits goes out as int32.
  void write(std::int64_t integer) {
    if (integer >= std::numeric_limits<std::int32_t>::min() && integer <= std::numeric_limits<std::int32_t>::max()) {
      write(static_cast<std::int32_t>(integer));
      return;
    }
    type(TypeByte::kInt64);
    number(integer);
  }
  void write(double real) {
    type(TypeByte::kFloat64);
    align(sizeof real);
    number(real);
  }
  void write(const std::string& text) { string(text); }
  void write(const std::vector<std::uint8_t>& elements) { typedList(TypeByte::kUint8List, elements); }
  void write(const std::vector<std::int32_t>& elements) { typedList(TypeByte::kInt32List, elements); }
  void write(const std::vector<std::int64_t>& elements) { typedList(TypeByte::kInt64List, elements); }
  void write(const std::vector<float>& elements) { typedList(TypeByte::kFloat32List, elements); }
  void write(const std::vector<double>& elements) { typedList(TypeByte::kFloat64List, elements); }
  void write(const ChannelList& list) {
    type(TypeByte::kList);
    size(list.size());
    for (const ChannelValue& element : list) value(element);
  }
  void write(const ChannelMap& map) {
    type(TypeByte::kMap);
    size(map.size());
    for (const auto& [key, entry] : map) {
      value(key);
      value(entry);
    }
  }

  // Aligned even when empty, as the Dart side writes them.
  template <typename T>
  void typedList(TypeByte listType, const std::vector<T>& elements) {
    type(listType);
    size(elements.size());
    align(sizeof(T));
    sink_.put(elements.data(), elements.size() * sizeof(T));
  }

  Sink& sink_;
};

// Encodes with `write(writer)` into a buffer of exactly the right size.
template <typename WriteFunction>
std::vector<std::uint8_t> encodeMessage(WriteFunction write) {
  CountingSink counter;
  StandardCodecWriter<CountingSink> counting(counter);
  write(counting);
  std::vector<std::uint8_t> out(counter.position());
  BufferSink sink(out, counter.allText());
  StandardCodecWriter<BufferSink> writer(sink);
  write(writer);
  return out;
}

}  // namespace quillon::codec
