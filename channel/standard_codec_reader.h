// StandardCodecReader: reads values in the standard codec's wire format from
// bytes that it does not own, refusing anything malformed.
//
// Every read checks the bytes left first and answers whether it succeeded. The
// first refusal is kept as one message, with the byte offset where it was
// found, for failure(); every later read then fails too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/expected.h"
#include "channel/channel_value.h"

namespace quillon::codec {

class StandardCodecReader {
 public:
  explicit StandardCodecReader(std::span<const std::uint8_t> bytes);

  StandardCodecReader(const StandardCodecReader&) = delete;
  StandardCodecReader& operator=(const StandardCodecReader&) = delete;

  bool readValue(ChannelValue& out);
  // A value that must be a string, or null when `nullable` (null reads as "");
  // `what` names it in the refusal.
  bool readString(std::string& out, std::string_view what, bool nullable = false);
  bool readByte(std::uint8_t& out);
  bool atEnd() const { return position_ == end_; }
  // Fails unless every byte has been read.
  bool finish();
  // What the first refusal said.
  Failure failure() const { return Failure{error_}; }
  // Refuses with `message` found at `offset` (or here); always returns false.
  bool failAt(std::string_view message, std::size_t offset);
  bool fail(std::string_view message) { return failAt(message, offset()); }
  std::size_t offset() const { return static_cast<std::size_t>(position_ - begin_); }

 private:
  // Reads one value and hands its type and constructor arguments to `place`,
  // which builds it where it belongs (no temporary value per element).
  template <typename Place>
  bool readValue(Place place, std::size_t depth);
  std::size_t remaining() const { return static_cast<std::size_t>(end_ - position_); }
  bool failed() const { return !error_.empty(); }
  bool need(std::size_t count);
  template <typename T>
  bool readNumber(T& out);
  bool readSize(std::size_t& out);
  // A count of things at least `unit` bytes each, which must fit in what is left.
  bool readCount(std::size_t& out, std::size_t unit);
  // How many of `count` elements to reserve room for. All reservations of one
  // message together stay within its byte count: a real message never has more
  // elements than bytes, and a hostile one cannot claim huge counts at every
  // nesting level to make the host reserve memory it will never fill.
  std::size_t reservation(std::size_t count);
  bool skipPadding(std::size_t alignment);
  void skipOptionalPadding(std::size_t alignment);
  // A string's payload, checked to be text; it points into the message.
  bool readText(std::string_view& out);
  template <typename T, typename Place>
  bool readScalar(Place& place) {
    T scalar{};
    if (!readNumber(scalar)) return false;
    place(std::in_place_type<T>, scalar);
    return true;
  }
  // Reads a payload of type T with `read`, then places it.
  template <typename T, typename Place, typename Read>
  bool readInto(Place& place, Read read) {
    T payload;
    if (!read(payload)) return false;
    place(std::in_place_type<T>, std::move(payload));
    return true;
  }
  template <typename T>
  bool readTypedList(std::vector<T>& out);
  bool readList(ChannelList& out, std::size_t depth);
  bool readMap(ChannelMap& out, std::size_t depth);

  const std::uint8_t* begin_;
  const std::uint8_t* position_;
  const std::uint8_t* end_;
  // The first refusal, never empty once made.
  std::string error_;
  std::size_t reserveBudget_;
};

}  // namespace quillon::codec
