#pragma once

#include <string_view>
#include <type_traits>

#include "platform/velm/attribute.h"

namespace velm::embedded {

/// Sets the attribute of that name in a value made of numbers. False if the value has none.
template <has_attributes T, class Number>
bool setAttribute(T& value, std::string_view name, Number number) {
   bool known = false;
   for_each_attribute(value, [&](char const* attribute, auto& member) {
      if (name != attribute) return;
      member = static_cast<std::remove_cvref_t<decltype(member)>>(number);
      known = true;
   });
   return known;
}

}  // namespace velm::embedded
