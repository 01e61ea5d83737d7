#include "channel/channel_value.h"

#include <ostream>
#include <sstream>

namespace quillon {

ChannelMap::ChannelMap() = default;
ChannelMap::ChannelMap(UniqueKeys, std::vector<Entry> entries) : entries_(std::move(entries)) {}
ChannelMap::ChannelMap(const ChannelMap&) = default;
ChannelMap::ChannelMap(ChannelMap&&) noexcept = default;
ChannelMap& ChannelMap::operator=(const ChannelMap&) = default;
ChannelMap& ChannelMap::operator=(ChannelMap&&) noexcept = default;
ChannelMap::~ChannelMap() = default;

void ChannelMap::set(ChannelValue key, ChannelValue value) {
  for (Entry& entry : entries_) {
    if (entry.key == key) {
      entry.value = std::move(value);
      return;
    }
  }
  entries_.push_back(Entry{std::move(key), std::move(value)});
}

void ChannelMap::appendUnique(ChannelValue key, ChannelValue value) {
  entries_.push_back(Entry{std::move(key), std::move(value)});
}

void ChannelMap::reserve(std::size_t count) { entries_.reserve(count); }

const ChannelValue* ChannelMap::find(std::string_view key) const {
  for (const Entry& entry : entries_) {
    const auto* text = entry.key.getIf<std::string>();
    if (text != nullptr && *text == key) return &entry.value;
  }
  return nullptr;
}

const ChannelValue* ChannelMap::find(const ChannelValue& key) const {
  for (const Entry& entry : entries_) {
    if (entry.key == key) return &entry.value;
  }
  return nullptr;
}

std::size_t ChannelMap::size() const { return entries_.size(); }
bool ChannelMap::empty() const { return entries_.empty(); }
std::vector<ChannelMap::Entry>::const_iterator ChannelMap::begin() const { return entries_.begin(); }
std::vector<ChannelMap::Entry>::const_iterator ChannelMap::end() const { return entries_.end(); }

bool operator==(const ChannelMap& a, const ChannelMap& b) { return a.entries_ == b.entries_; }

std::optional<std::int64_t> ChannelValue::asInteger() const {
  if (const auto* small = getIf<std::int32_t>()) return *small;
  if (const auto* large = getIf<std::int64_t>()) return *large;
  return std::nullopt;
}

namespace {

template <typename T>
void describeElements(std::ostream& out, const std::vector<T>& elements) {
  out << '[';
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (i != 0) out << ", ";
    if constexpr (std::is_same_v<T, std::uint8_t>) {
      out << static_cast<unsigned>(elements[i]);
    } else {
      out << elements[i];
    }
  }
  out << ']';
}

void describeTo(std::ostream& out, const ChannelValue& value) {
  std::visit(
      [&out](const auto& held) {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          out << "null";
        } else if constexpr (std::is_same_v<T, bool>) {
          out << (held ? "true" : "false");
        } else if constexpr (std::is_same_v<T, std::string>) {
          out << '"' << held << '"';
        } else if constexpr (std::is_same_v<T, ChannelList>) {
          out << '[';
          for (std::size_t i = 0; i < held.size(); ++i) {
            if (i != 0) out << ", ";
            describeTo(out, held[i]);
          }
          out << ']';
        } else if constexpr (std::is_same_v<T, ChannelMap>) {
          out << '{';
          bool first = true;
          for (const auto& [key, entry] : held) {
            if (!first) out << ", ";
            first = false;
            describeTo(out, key);
            out << ": ";
            describeTo(out, entry);
          }
          out << '}';
        } else if constexpr (std::is_arithmetic_v<T>) {
          out << held;
        } else {
          describeElements(out, held);
        }
      },
      value.variant());
}

}  // namespace

std::string describe(const ChannelValue& value) {
  std::ostringstream out;
  describeTo(out, value);
  return out.str();
}

void PrintTo(const ChannelValue& value, std::ostream* out) { describeTo(*out, value); }

}  // namespace quillon
