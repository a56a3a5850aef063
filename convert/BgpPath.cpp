#include "convert/BgpPath.h"

#include "convert/Values.h"
#include "platform/velm/bgp_path.h"

namespace VelmSdkRpc::types {

velm::bgp_path_key_t convert(velm::remote::BgpPathKey const& message) {
   velm::bgp_path_key_t key;
   key.peer_addr_is(ip_addr(message.peer_addr()));
   key.prefix_is(convert(message.prefix()));
   key.vrf_name_is(message.vrf_name());
   return key;
}

velm::remote::BgpPathKey convert(velm::bgp_path_key_t const& key) {
   velm::remote::BgpPathKey message;
   message.set_peer_addr(ip_addr_bytes(key.peer_addr()));
   *message.mutable_prefix() = convert(key.prefix());
   message.set_vrf_name(key.vrf_name());
   return message;
}

velm::bgp_path_attr_fields_t convert(velm::remote::BgpPathAttrFields const& message) {
   velm::bgp_path_attr_fields_t fields;
   fields.next_hop_is(message.next_hop());
   fields.community_list_is(message.community_list());
   return fields;
}

velm::bgp_path_options_t convert(velm::remote::BgpPathOptions const& message) {
   velm::bgp_path_options_t options;
   // The one enum without a row in the table of Enums.h: its numbers are the SDK's own, and this program need not know
   // them. What the switch makes of an unknown one is the switch's affair.
   options.receive_route_stage_is(static_cast<velm::bgp_receive_route_stage_t>(message.receive_route_stage()));
   options.path_attr_fields_is(convert(message.path_attr_fields()));
   return options;
}

velm::remote::BgpPathAttrs convert(velm::bgp_path_attr_t const& attr) {
   velm::remote::BgpPathAttrs message;
   message.set_next_hop(ip_addr_bytes(attr.next_hop()));
   message.set_origin(attr.origin());
   message.set_med(attr.med());
   message.set_local_pref(attr.local_pref());
   message.mutable_community_list()->Assign(attr.community_list().begin(), attr.community_list().end());
   return message;
}

velm::remote::BgpPath convert(velm::bgp_path_t const& path) {
   velm::remote::BgpPath message;
   *message.mutable_path_key() = convert(path.path_key());
   *message.mutable_path_attr() = convert(path.path_attr());
   return message;
}

}  // namespace VelmSdkRpc::types
