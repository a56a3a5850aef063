#include "convert/EthLagIntf.h"

#include "convert/Enums.h"
#include "convert/Values.h"
#include "platform/velm/eth_lag_intf.h"

namespace VelmSdkRpc::types {

velm::remote::EthLagIntf convert(velm::eth_lag_intf_t const& lag) {
   velm::remote::EthLagIntf message;
   *message.mutable_intf() = convert(lag.intf());
   message.set_speed(lag.speed());
   message.set_min_links(lag.min_links());
   message.set_fallback_type(convert(lag.fallback_type()));
   message.set_fallback_timeout(lag.fallback_timeout());
   message.set_fallback_timeout_default(lag.fallback_timeout_default());
   return message;
}

velm::remote::EthLagIntfMembership convert(velm::eth_lag_intf_membership_t const& membership) {
   velm::remote::EthLagIntfMembership message;
   *message.mutable_eth_lag_intf_id() = convert(membership.eth_lag_intf_id());
   message.set_active(membership.active());
   message.set_reason(membership.reason());
   message.set_member_time(membership.member_time());
   message.set_mode(convert(membership.mode()));
   return message;
}

}  // namespace VelmSdkRpc::types
