#include "platform/velm/bgp_path.h"

#include <absl/hash/hash.h>
#include <fmt/format.h>

namespace velm {

std::size_t bgp_path_key_t::hash() const { return absl::HashOf(*this); }

std::string bgp_path_key_t::to_string() const {
   return fmt::format("{} peer {} vrf {}", prefix_.to_string(), peer_addr_.to_string(), vrf_name_);
}

}  // namespace velm
