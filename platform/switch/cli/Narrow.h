#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <limits>
#include <string_view>

#include "platform/velm/errors.h"

namespace velm::embedded::cli {

/// A number of a command as the type of what it sets. Throws invalid_range_error that names it if it does not fit.
template <class T>
T narrowed(std::uint64_t number, std::string_view what) {
   if (number > static_cast<std::uint64_t>(std::numeric_limits<T>::max())) {
      throw invalid_range_error(fmt::format("{} {} is out of range", what, number));
   }
   return static_cast<T>(number);
}

}  // namespace velm::embedded::cli
