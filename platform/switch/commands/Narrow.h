#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/velm/enums.h"
#include "platform/velm/errors.h"

namespace velm::embedded::commands {

inline invalid_range_error outOfRange(std::string_view what, std::uint64_t number) {
   return invalid_range_error(fmt::format("{} {} is out of range", what, number));
}

/// A number of a command as the type of what it sets. Throws invalid_range_error that names it if it does not fit.
template <class T>
T narrowed(std::uint64_t number, std::string_view what) {
   if (!std::in_range<T>(number)) throw outOfRange(what, number);
   return static_cast<T>(number);
}

/// A number of a command as a value of the enum that it sets. Throws invalid_range_error that names it if there is
/// none.
template <class Enum>
Enum enumOf(std::uint64_t number, std::string_view what) {
   auto const value = static_cast<Enum>(narrowed<std::underlying_type_t<Enum>>(number, what));
   if (!is_valid(value)) throw outOfRange(what, number);
   return value;
}

}  // namespace velm::embedded::commands
