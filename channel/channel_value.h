// The values of the standard method codec, shared by both channels.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quillon {

class ChannelValue;

using ChannelList = std::vector<ChannelValue>;

// A map from values to values that keeps its entries in insertion order, so that
// result maps go out in a fixed key order. Assigning to a key that is already
// there replaces its value in place: a decoded map with a repeated key keeps the
// last value.
class ChannelMap {
 public:
  struct Entry;

  // Says that the keys of the entries given with it are all different.
  struct UniqueKeys {};

  ChannelMap();
  // Takes over `entries`; the caller guarantees that their keys are all different.
  ChannelMap(UniqueKeys, std::vector<Entry> entries);
  ChannelMap(const ChannelMap&);
  ChannelMap(ChannelMap&&) noexcept;
  ChannelMap& operator=(const ChannelMap&);
  ChannelMap& operator=(ChannelMap&&) noexcept;
  ~ChannelMap();

  // Inserts or replaces. Keys are compared by value equality.
  void set(ChannelValue key, ChannelValue value);
  // Appends without looking for an equal key; the caller guarantees it is new.
  void appendUnique(ChannelValue key, ChannelValue value);
  void reserve(std::size_t count);

  // The value under a string key, or nullptr.
  const ChannelValue* find(std::string_view key) const;
  const ChannelValue* find(const ChannelValue& key) const;

  std::size_t size() const;
  bool empty() const;
  std::vector<Entry>::const_iterator begin() const;
  std::vector<Entry>::const_iterator end() const;

  friend bool operator==(const ChannelMap&, const ChannelMap&);

 private:
  std::vector<Entry> entries_;
};

class ChannelValue {
 public:
  using Variant = std::variant<std::monostate, bool, std::int32_t, std::int64_t, double, std::string,
                               std::vector<std::uint8_t>, std::vector<std::int32_t>,
                               std::vector<std::int64_t>, std::vector<float>, std::vector<double>,
                               ChannelList, ChannelMap>;

  ChannelValue() = default;
  ChannelValue(std::nullptr_t) {}
  ChannelValue(bool value) : value_(value) {}
  ChannelValue(std::int32_t value) : value_(value) {}
  ChannelValue(std::int64_t value) : value_(value) {}
  ChannelValue(double value) : value_(value) {}
  ChannelValue(const char* value) : value_(std::string(value)) {}
  // Any other pointer would quietly become a bool; naming one is a compile error instead.
  template <typename T>
  ChannelValue(T*) = delete;
  ChannelValue(std::string_view value) : value_(std::string(value)) {}
  ChannelValue(std::string value) : value_(std::move(value)) {}
  ChannelValue(std::vector<std::uint8_t> value) : value_(std::move(value)) {}
  ChannelValue(std::vector<std::int32_t> value) : value_(std::move(value)) {}
  ChannelValue(std::vector<std::int64_t> value) : value_(std::move(value)) {}
  ChannelValue(std::vector<float> value) : value_(std::move(value)) {}
  ChannelValue(std::vector<double> value) : value_(std::move(value)) {}
  ChannelValue(ChannelList value) : value_(std::move(value)) {}
  ChannelValue(ChannelMap value) : value_(std::move(value)) {}
  // Holds a T built from `arguments`, in place.
  template <typename T, typename... Arguments>
  explicit ChannelValue(std::in_place_type_t<T> type, Arguments&&... arguments)
      : value_(type, std::forward<Arguments>(arguments)...) {}

  bool isNull() const { return std::holds_alternative<std::monostate>(value_); }

  template <typename T>
  bool is() const {
    return std::holds_alternative<T>(value_);
  }
  template <typename T>
  const T* getIf() const {
    return std::get_if<T>(&value_);
  }
  template <typename T>
  const T& get() const {
    return std::get<T>(value_);
  }

  // Replaces what is held with a T built from `arguments`, in place.
  template <typename T, typename... Arguments>
  T& emplace(Arguments&&... arguments) {
    return value_.template emplace<T>(std::forward<Arguments>(arguments)...);
  }

  // A 32-bit or 64-bit integer, widened; a double or a boolean is not an integer.
  std::optional<std::int64_t> asInteger() const;

  const Variant& variant() const { return value_; }

  friend bool operator==(const ChannelValue&, const ChannelValue&) = default;

 private:
  Variant value_;
};

struct ChannelMap::Entry {
  ChannelValue key;
  ChannelValue value;
  friend bool operator==(const Entry&, const Entry&) = default;
};

// A readable one-line rendering for logs and test failures.
std::string describe(const ChannelValue& value);
void PrintTo(const ChannelValue& value, std::ostream* out);

}  // namespace quillon
