#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/switch/Dataplane.h"

namespace velm::machine {

/// How many rows the shared arrays have. All is allocated when the program is loaded.
struct Sizes {
   std::size_t trieBytes = 0;
   std::uint32_t groups = 0;
   std::uint32_t buckets = 0;
   std::uint32_t exits = 0;
   std::uint32_t hops = 0;
};

/// Enough for that capacity, with what waits for its grace period.
Sizes sizesFor(embedded::DataplaneCapacity const& capacity);

}  // namespace velm::machine
