#pragma once

#include "proto/remote/eth_lag_intf.pb.h"

namespace velm {
class eth_lag_intf_membership_t;
class eth_lag_intf_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// There is no way back: clients set a LAG attribute by attribute.

/// Throws unsupported_error for an unknown fallback type.
velm::remote::EthLagIntf convert(velm::eth_lag_intf_t const& lag);

/// Throws unsupported_error for an unknown LACP mode.
velm::remote::EthLagIntfMembership convert(velm::eth_lag_intf_membership_t const& membership);

}  // namespace VelmSdkRpc::types
