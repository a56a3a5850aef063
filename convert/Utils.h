#pragma once

// The native messages as text and as values of the switch: what every programmer of the native service needs.
//
// A native request is trusted. An address whose number of bytes no family has, or an operation that the schema does not
// list, comes from a broken client: it fails an assertion, and that ends the process. The mirror services, whose
// conversions are in the files by feature, refuse such values instead.

#include <ostream>
#include <string>

#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"
#include "proto/velmsdk.pb.h"

namespace Brel {
class IpGenAddr;
}
namespace velm {
class sbfd_echo_session_key_t;
}

namespace VelmSdkRpc {

/// The switch's action for a native operation. The wire has three operations that swap, the switch one action. A value
/// that the schema does not list ends the process.
velm::mpls_action_t mplsOpToMplsAction(pb::nexthop_msg_mpls_operation_enum operation);

/// No bytes are the null address; a number of them that no family has ends the process.
velm::ip_addr_t ipAddressToIpAddr(pb::ip_address_msg const& address);
/// No bytes are the null prefix, whatever the length says; a number of bytes that no family has ends the process. The
/// length is cut to 8 bits and not compared with the family: the switch refuses one that is too long.
velm::ip_prefix_t ipPrefixToPrefix(pb::ip_prefix_msg const& prefix);

/// Writes the address into the message, or gives a new one. The null address has no form here: it ends the process.
void ipAddrToIpAddress(velm::ip_addr_t const& address, pb::ip_address_msg* message);
pb::ip_address_msg ipAddrToIpAddress(velm::ip_addr_t const& address);

/// Writes an address of the runtime's kind into the message, or gives a new one. Its null address is no bytes.
void ipGenAddrToIpAddress(Brel::IpGenAddr const& address, pb::ip_address_msg* message);
pb::ip_address_msg ipGenAddrToIpAddress(Brel::IpGenAddr const& address);

/// Fills an empty message, the labels outermost first. A null nexthop ends the process.
void convertKey(velm::sbfd_echo_session_key_t const& key, pb::sbfd_echo_session_key_msg* message);

namespace pb {

// The text form of every message that programmers quote: they append it here, and the templates below make the other
// forms of it. Clients read it in debug_string, so its labels and their order are an interface; they differ from the
// names of the fields. Nothing of it is read back.
void appendText(std::string& text, cbf_nexthop_group_redirect_msg const& redirect);
void appendText(std::string& text, ip_address_msg const& address);
void appendText(std::string& text, ip_prefix_msg const& prefix);
void appendText(std::string& text, ip_route_msg const& route);
void appendText(std::string& text, mpls_route_msg const& route);
void appendText(std::string& text, mpls_route_msg_forward_nexthop_group_msg const& forward);
void appendText(std::string& text, nexthop_group_msg const& group);
void appendText(std::string& text, nexthop_group_tunnel_msg const& tunnel);
void appendText(std::string& text, nexthop_msg const& nexthop);
void appendText(std::string& text, rpc_server_state_config_msg const& config);
void appendText(std::string& text, rpc_server_state_status_msg const& status);
void appendText(std::string& text, rpc_status_msg const& status);
void appendText(std::string& text, sbfd_echo_session_key_msg const& key);
void appendText(std::string& text, sbfd_echo_session_msg const& session);
void appendText(std::string& text, sbfd_echo_session_oper_status_msg const& status);
void appendText(std::string& text, sbfd_echo_session_rtt_msg const& rtt);
void appendText(std::string& text, watch_sbfd_echo_session_config_msg const& config);
void appendText(std::string& text, watch_sbfd_echo_session_status_msg const& update);

/// A message that has such a text form.
template <class Message>
concept Rendered = requires(std::string& text, Message const& message) {
   appendText(text, message);
};

template <Rendered Message>
std::string toString(Message const& message) {
   std::string text;
   appendText(text, message);
   return text;
}

/// The form does not depend on the stream's flags, such as std::hex, and leaves them as they are.
template <Rendered Message>
std::ostream& operator<<(std::ostream& stream, Message const& message) {
   return stream << toString(message);
}

}  // namespace pb
}  // namespace VelmSdkRpc
