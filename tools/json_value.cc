#include "tools/json_value.h"

#include <limits>
#include <type_traits>

namespace quillon {

namespace {

ChannelValue integerValue(std::int64_t value) {
  if (value >= std::numeric_limits<std::int32_t>::min() && value <= std::numeric_limits<std::int32_t>::max()) {
    return static_cast<std::int32_t>(value);
  }
  return value;
}

template <typename Number>
OrderedJson arrayOf(const std::vector<Number>& numbers) {
  OrderedJson array = OrderedJson::array();
  for (const Number number : numbers) array.push_back(number);
  return array;
}

std::string keyText(const ChannelValue& key) {
  if (const auto* text = key.getIf<std::string>()) return *text;
  return jsonFromValue(key).dump();
}

}  // namespace

ChannelValue valueFromJson(const OrderedJson& json) {
  switch (json.type()) {
    case OrderedJson::value_t::boolean:
      return json.get<bool>();
    case OrderedJson::value_t::number_integer:
      return integerValue(json.get<std::int64_t>());
    case OrderedJson::value_t::number_unsigned: {
      const auto value = json.get<std::uint64_t>();
      if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return static_cast<double>(value);
      return integerValue(static_cast<std::int64_t>(value));
    }
    case OrderedJson::value_t::number_float:
      return json.get<double>();
    case OrderedJson::value_t::string:
      return json.get<std::string>();
    case OrderedJson::value_t::array: {
      ChannelList list;
      list.reserve(json.size());
      for (const auto& element : json) list.push_back(valueFromJson(element));
      return list;
    }
    case OrderedJson::value_t::object: {
      ChannelMap map;
      for (const auto& [key, element] : json.items()) map.set(ChannelValue(key), valueFromJson(element));
      return map;
    }
    default:  // null, and binary and discarded, which parsing text never yields.
      return {};
  }
}

OrderedJson jsonFromValue(const ChannelValue& value) {
  return std::visit(
      [](const auto& held) -> OrderedJson {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
          return nullptr;
        } else if constexpr (std::is_same_v<Held, ChannelList>) {
          OrderedJson array = OrderedJson::array();
          for (const auto& element : held) array.push_back(jsonFromValue(element));
          return array;
        } else if constexpr (std::is_same_v<Held, ChannelMap>) {
          OrderedJson object = OrderedJson::object();
          for (const auto& entry : held) object[keyText(entry.key)] = jsonFromValue(entry.value);
          return object;
        } else if constexpr (std::is_same_v<Held, std::vector<std::uint8_t>> ||
                             std::is_same_v<Held, std::vector<std::int32_t>> ||
                             std::is_same_v<Held, std::vector<std::int64_t>> ||
                             std::is_same_v<Held, std::vector<float>> || std::is_same_v<Held, std::vector<double>>) {
          return arrayOf(held);
        } else {
          return held;
        }
      },
      value.variant());
}

}  // namespace quillon
