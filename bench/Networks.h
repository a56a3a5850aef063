#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/Requests.h"

namespace VelmSdkRpc::Bench {

/// Addresses of networks of 24 bits, in host order.
using Networks = std::vector<std::uint32_t>;

/// As many different ones from all over the space of unicast addresses, by rising address, the same in every run. None
/// is of 10.0.0.0/8, where a Lab lies.
Networks randomNetworks(std::size_t count);
/// The same ones from all over.
Networks shuffled(Networks networks);

/// Requests of bulks that set routes to the networks, or delete them. They lead to the groups in turn.
Requests routesTo(Networks const& networks, std::vector<std::string> const& groups);
Requests deletionsOf(Networks const& networks);

}  // namespace VelmSdkRpc::Bench
