// The arguments of a command as the catalogues read them: a map whose keys are
// all strings. Keys that a command does not name are ignored.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "channel/channel_value.h"

namespace quillon {

class CommandArguments {
 public:
  // Nothing unless `arguments` is a map whose keys are all strings; null, a
  // list, a string or a map with any other key fails. The arguments borrow
  // the map: it must outlive them, so a temporary cannot be read.
  static std::optional<CommandArguments> from(const ChannelValue& arguments);
  static std::optional<CommandArguments> from(const ChannelValue&& arguments) = delete;

  // A string value under `key`, taken unchanged; nothing when absent or of another kind.
  const std::string* string(std::string_view key) const;
  // A 32-bit or 64-bit integer under `key`, widened; a double or a boolean is not one.
  std::optional<std::int64_t> integer(std::string_view key) const;
  // Any value under `key`, null included; nullptr when the key is absent.
  const ChannelValue* present(std::string_view key) const;

 private:
  explicit CommandArguments(const ChannelMap& map) : map_(&map) {}

  const ChannelMap* map_;
};

}  // namespace quillon
