#include "commands/command_arguments.h"

#include <algorithm>

namespace quillon {

std::optional<CommandArguments> CommandArguments::from(const ChannelValue& arguments) {
  const auto* map = arguments.getIf<ChannelMap>();
  if (map == nullptr) return std::nullopt;
  const bool allStringKeys = std::all_of(map->begin(), map->end(),
                                         [](const ChannelMap::Entry& entry) { return entry.key.is<std::string>(); });
  if (!allStringKeys) return std::nullopt;
  return CommandArguments(*map);
}

const std::string* CommandArguments::string(std::string_view key) const {
  const ChannelValue* value = map_->find(key);
  return value == nullptr ? nullptr : value->getIf<std::string>();
}

std::optional<std::int64_t> CommandArguments::integer(std::string_view key) const {
  const ChannelValue* value = map_->find(key);
  return value == nullptr ? std::nullopt : value->asInteger();
}

const ChannelValue* CommandArguments::present(std::string_view key) const { return map_->find(key); }

}  // namespace quillon
