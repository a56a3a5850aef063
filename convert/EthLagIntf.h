#pragma once

#include "proto/remote/eth_lag_intf.pb.h"

namespace velm {
class eth_lag_intf_membership_t;
class eth_lag_intf_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// Port channels, as the switch shows them. There is no way back to the SDK: clients set a LAG attribute by attribute.

/// The LAG's own attributes; its members are not part of it. Throws unsupported_error for an unknown fallback type.
velm::remote::EthLagIntf convert(velm::eth_lag_intf_t const& lag);

/// One interface's place in a LAG. Throws unsupported_error for an unknown LACP mode.
velm::remote::EthLagIntfMembership convert(velm::eth_lag_intf_membership_t const& membership);

}  // namespace VelmSdkRpc::types
