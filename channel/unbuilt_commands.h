// Commands whose namespace is not built yet: each answers not-implemented.
// Goes away when the last namespace lands.
#pragma once

#include <initializer_list>

#include "channel/command.h"

namespace quillon {

inline CommandList unbuiltCommands(std::initializer_list<std::string_view> names) {
  CommandList commands;
  for (std::string_view name : names) {
    commands.push_back({name, [](const MethodCall&, ReplyCallback reply) { std::move(reply).notImplemented(); }});
  }
  return commands;
}

}  // namespace quillon
