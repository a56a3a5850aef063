#include "platform/velm/policy_map_key.h"

#include <absl/hash/hash.h>
#include <fmt/format.h>

namespace velm {

std::size_t policy_map_key_t::hash() const { return absl::HashOf(*this); }

std::string policy_map_key_t::to_string() const {
   return fmt::format("{} feature {}", name_, static_cast<unsigned>(feature_));
}

}  // namespace velm
