#pragma once

#include <fmt/format.h>

#include <concepts>
#include <string>

#include "platform/velm/attribute.h"

/// Makes every value that has a text form an argument of any format string.
template <velm::has_attributes Value>
requires requires(Value const& value) {
   { value.to_string() } -> std::same_as<std::string>;
}
struct fmt::formatter<Value> : fmt::formatter<fmt::string_view> {
   template <class Context>
   auto format(Value const& value, Context& context) const {
      return fmt::formatter<fmt::string_view>::format(value.to_string(), context);
   }
};
