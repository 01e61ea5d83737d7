#include "channel/channel_value_hash.h"

#include <functional>
#include <type_traits>

namespace quillon {
namespace {

std::size_t combine(std::size_t seed, std::size_t next) {
  return seed ^ (next + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}

// Equal floating-point values must hash alike: fold -0.0 onto 0.0. NaN is never
// equal to anything, so whatever it hashes to is fine.
template <typename T>
std::size_t hashElement(T element) {
  if constexpr (std::is_floating_point_v<T>) {
    if (element == T{0}) element = T{0};
  }
  return std::hash<T>{}(element);
}

std::size_t hashHeld(const ChannelValue& value) {
  return std::visit(
      [](const auto& held) -> std::size_t {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return 0;
        } else if constexpr (std::is_same_v<T, std::string>) {
          return std::hash<std::string>{}(held);
        } else if constexpr (std::is_same_v<T, ChannelList>) {
          std::size_t seed = held.size();
          for (const ChannelValue& element : held) seed = combine(seed, hashValue(element));
          return seed;
        } else if constexpr (std::is_same_v<T, ChannelMap>) {
          std::size_t seed = held.size();
          for (const auto& [key, entry] : held) seed = combine(combine(seed, hashValue(key)), hashValue(entry));
          return seed;
        } else if constexpr (std::is_arithmetic_v<T>) {
          return hashElement(held);
        } else {
          std::size_t seed = held.size();
          for (auto element : held) seed = combine(seed, hashElement(element));
          return seed;
        }
      },
      value.variant());
}

}  // namespace

std::size_t hashValue(const ChannelValue& value) { return combine(value.variant().index(), hashHeld(value)); }

}  // namespace quillon
