#include "channel/standard_codec_reader.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "channel/channel_value_hash.h"
#include "channel/standard_codec.h"
#include "channel/standard_codec_types.h"
#include "channel/utf8_text.h"

namespace quillon::codec {
namespace {

// Collects a decoded map's entries, each read in place; a repeated key keeps
// its first place and takes the last value. Small maps are searched directly;
// larger ones through a hash index, so that a hostile message cannot make
// decoding quadratic.
class MapBuilder {
 public:
  MapBuilder(std::size_t count, std::size_t reservation) : indexed_(count > kDirectSearchLimit) {
    entries_.reserve(reservation);
    if (indexed_) index_.reserve(reservation);
  }

  // Room for the next entry, to be read and then kept with `keepLast`.
  ChannelMap::Entry& next() { return entries_.emplace_back(); }

  void keepLast() {
    const std::size_t last = entries_.size() - 1;
    if (ChannelMap::Entry* earlier = indexed_ ? findIndexed(last) : findDirectly(last)) {
      earlier->value = std::move(entries_.back().value);
      entries_.pop_back();
    }
  }

  std::vector<ChannelMap::Entry> take() && { return std::move(entries_); }

 private:
  static constexpr std::size_t kDirectSearchLimit = 16;

  // An entry before `last` with the same key.
  ChannelMap::Entry* findDirectly(std::size_t last) {
    for (std::size_t i = 0; i < last; ++i) {
      if (entries_[i].key == entries_[last].key) return &entries_[i];
    }
    return nullptr;
  }
  // The same, and `last` indexed when its key is new.
  ChannelMap::Entry* findIndexed(std::size_t last) {
    const std::size_t hash = hashValue(entries_[last].key);
    auto [first, end] = index_.equal_range(hash);
    for (auto it = first; it != end; ++it) {
      if (entries_[it->second].key == entries_[last].key) return &entries_[it->second];
    }
    index_.emplace(hash, last);
    return nullptr;
  }

  bool indexed_;
  std::vector<ChannelMap::Entry> entries_;
  std::unordered_multimap<std::size_t, std::size_t> index_;
};

// Where a decoded value goes: over a value already there, or onto the end of
// a list. Both build it in place from its type and constructor arguments.
struct AssignTo {
  ChannelValue& out;
  template <typename T, typename... Arguments>
  void operator()(std::in_place_type_t<T>, Arguments&&... arguments) {
    out.emplace<T>(std::forward<Arguments>(arguments)...);
  }
};

struct AppendTo {
  ChannelList& list;
  template <typename T, typename... Arguments>
  void operator()(std::in_place_type_t<T> type, Arguments&&... arguments) {
    list.emplace_back(type, std::forward<Arguments>(arguments)...);
  }
};

}  // namespace

StandardCodecReader::StandardCodecReader(std::span<const std::uint8_t> bytes)
    : begin_(bytes.data()), position_(bytes.data()), end_(bytes.data() + bytes.size()), reserveBudget_(bytes.size()) {}

bool StandardCodecReader::failAt(std::string_view message, std::size_t offset) {
  if (!failed()) error_ = std::string(message) + " at byte " + std::to_string(offset);
  return false;
}

bool StandardCodecReader::need(std::size_t count) {
  if (failed()) return false;
  if (remaining() < count) return fail("truncated value");
  return true;
}

bool StandardCodecReader::finish() {
  if (failed()) return false;
  if (!atEnd()) return fail(std::to_string(remaining()) + " trailing bytes after the message");
  return true;
}

bool StandardCodecReader::readByte(std::uint8_t& out) { return readNumber(out); }

template <typename T>
bool StandardCodecReader::readNumber(T& out) {
  if (!need(sizeof(T))) return false;
  std::memcpy(&out, position_, sizeof(T));
  position_ += sizeof(T);
  return true;
}

bool StandardCodecReader::readSize(std::size_t& out) {
  std::uint8_t first = 0;
  if (!readByte(first)) return false;
  if (first == kSize16) {
    std::uint16_t size = 0;
    if (!readNumber(size)) return false;
    out = size;
  } else if (first == kSize32) {
    std::uint32_t size = 0;
    if (!readNumber(size)) return false;
    out = size;
  } else {
    out = first;
  }
  return true;
}

bool StandardCodecReader::readCount(std::size_t& out, std::size_t unit) {
  const std::size_t sizeOffset = offset();
  if (!readSize(out)) return false;
  if (out > remaining() / unit) {
    return failAt("size " + std::to_string(out) + " beyond the " + std::to_string(remaining()) + " bytes left",
                  sizeOffset);
  }
  return true;
}

std::size_t StandardCodecReader::reservation(std::size_t count) {
  const std::size_t granted = std::min(count, reserveBudget_);
  reserveBudget_ -= granted;
  return granted;
}

bool StandardCodecReader::skipPadding(std::size_t alignment) {
  const std::size_t misalignment = offset() % alignment;
  if (misalignment == 0) return true;
  if (!need(alignment - misalignment)) return false;
  position_ += alignment - misalignment;
  return true;
}

// Empty typed lists come both with and without their padding: take the padding
// when it is there and all zero, as an aligning sender writes it.
void StandardCodecReader::skipOptionalPadding(std::size_t alignment) {
  const std::size_t misalignment = offset() % alignment;
  if (misalignment == 0) return;
  const std::size_t padding = alignment - misalignment;
  if (remaining() < padding) return;
  if (std::all_of(position_, position_ + padding, [](std::uint8_t byte) { return byte == 0; })) {
    position_ += padding;
  }
}

bool StandardCodecReader::readText(std::string_view& out) {
  std::size_t length = 0;
  if (!readCount(length, 1)) return false;
  const std::string_view text(reinterpret_cast<const char*>(position_), length);
  if (!isUtf8Text(text)) return fail("invalid UTF-8 in string");
  position_ += length;
  out = text;
  return true;
}

bool StandardCodecReader::readString(std::string& out, std::string_view what, bool nullable) {
  const std::size_t start = offset();
  std::uint8_t type = 0;
  if (!readByte(type)) return false;
  if (type == static_cast<std::uint8_t>(TypeByte::kString)) {
    std::string_view text;
    if (!readText(text)) return false;
    out.assign(text);
    return true;
  }
  if (nullable && type == static_cast<std::uint8_t>(TypeByte::kNull)) {
    out.clear();
    return true;
  }
  return failAt(std::string(what) + (nullable ? " is neither a string nor null" : " is not a string"), start);
}

template <typename T>
bool StandardCodecReader::readTypedList(std::vector<T>& out) {
  const std::size_t sizeOffset = offset();
  std::size_t count = 0;
  if (!readSize(count)) return false;
  if (count == 0) {
    skipOptionalPadding(sizeof(T));
    return true;
  }
  if (!skipPadding(sizeof(T))) return false;
  if (count > remaining() / sizeof(T)) {
    return failAt("size " + std::to_string(count) + " beyond the " + std::to_string(remaining()) + " bytes left",
                  sizeOffset);
  }
  out.resize(count);
  std::memcpy(out.data(), position_, count * sizeof(T));
  position_ += count * sizeof(T);
  return true;
}

bool StandardCodecReader::readList(ChannelList& out, std::size_t depth) {
  std::size_t count = 0;
  if (!readCount(count, 1)) return false;
  out.reserve(reservation(count));
  for (std::size_t i = 0; i < count; ++i) {
    if (!readValue(AppendTo{out}, depth + 1)) return false;
  }
  return true;
}

bool StandardCodecReader::readMap(ChannelMap& out, std::size_t depth) {
  std::size_t count = 0;
  if (!readCount(count, 2)) return false;
  MapBuilder builder(count, reservation(count));
  for (std::size_t i = 0; i < count; ++i) {
    ChannelMap::Entry& entry = builder.next();
    if (!readValue(AssignTo{entry.key}, depth + 1) || !readValue(AssignTo{entry.value}, depth + 1)) return false;
    builder.keepLast();
  }
  out = ChannelMap(ChannelMap::UniqueKeys{}, std::move(builder).take());
  return true;
}

bool StandardCodecReader::readValue(ChannelValue& out) { return readValue(AssignTo{out}, 0); }

template <typename Place>
bool StandardCodecReader::readValue(Place place, std::size_t depth) {
  const std::size_t typeOffset = offset();
  std::uint8_t type = 0;
  if (!readByte(type)) return false;
  switch (static_cast<TypeByte>(type)) {
    case TypeByte::kNull:
      place(std::in_place_type<std::monostate>);
      return true;
    case TypeByte::kTrue:
      place(std::in_place_type<bool>, true);
      return true;
    case TypeByte::kFalse:
      place(std::in_place_type<bool>, false);
      return true;
    case TypeByte::kInt32:
      return readScalar<std::int32_t>(place);
    case TypeByte::kInt64:
      return readScalar<std::int64_t>(place);
    case TypeByte::kFloat64:
      return skipPadding(sizeof(double)) && readScalar<double>(place);
    case TypeByte::kString: {
      std::string_view text;
      if (!readText(text)) return false;
      place(std::in_place_type<std::string>, text);
      return true;
    }
    case TypeByte::kUint8List:
      return readInto<std::vector<std::uint8_t>>(place, [this](auto& list) { return this->readTypedList(list); });
    case TypeByte::kInt32List:
      return readInto<std::vector<std::int32_t>>(place, [this](auto& list) { return this->readTypedList(list); });
    case TypeByte::kInt64List:
      return readInto<std::vector<std::int64_t>>(place, [this](auto& list) { return this->readTypedList(list); });
    case TypeByte::kFloat32List:
      return readInto<std::vector<float>>(place, [this](auto& list) { return this->readTypedList(list); });
    case TypeByte::kFloat64List:
      return readInto<std::vector<double>>(place, [this](auto& list) { return this->readTypedList(list); });
    case TypeByte::kList:
    case TypeByte::kMap:
      if (depth >= StandardCodec::kMaxDepth) {
        return failAt("nesting deeper than " + std::to_string(StandardCodec::kMaxDepth) + " levels", typeOffset);
      }
      if (static_cast<TypeByte>(type) == TypeByte::kList) {
        return readInto<ChannelList>(place, [this, depth](ChannelList& list) { return readList(list, depth); });
      }
      return readInto<ChannelMap>(place, [this, depth](ChannelMap& map) { return readMap(map, depth); });
  }
  return failAt("unknown type byte " + std::to_string(type), typeOffset);
}

}  // namespace quillon::codec
