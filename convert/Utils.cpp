#include "convert/Utils.h"

#include <fmt/format.h>
#include <google/protobuf/generated_enum_reflection.h>

#include <array>
#include <concepts>
#include <functional>
#include <iterator>
#include <string_view>
#include <type_traits>

#include "convert/AddressFamily.h"
#include "platform/brel/IpGenAddr.h"
#include "platform/qor/Assert.h"
#include "platform/qor/Runtime.h"
#include "platform/velm/bfd.h"

// The native conversions, and the text form of the native messages.
//
// A text is made by appending to one string, which nested messages share, and not through a stream: a bulk request that
// is refused is rendered once for each element, and a stream would cost a buffer and a locale for each message in it.
// Nothing is rendered for a trace line whose level is off.

namespace VelmSdkRpc {
namespace {

// The assertions of this file all say "false", the text that operators have always found in the log.
velm::ip_addr_t trustedAddress(std::string const& bytes) {
   auto const address = types::addressOf(bytes);
   Qor::assertThat(address.has_value(), "false");
   return *address;
}

}  // namespace

velm::mpls_action_t mplsOpToMplsAction(pb::nexthop_msg_mpls_operation_enum operation) {
   using enum velm::mpls_action_t;
   static constexpr std::array actions{none, push, pop, swap, swap, swap};
   auto const index = static_cast<std::size_t>(operation);  // the wire's enums are open, also downwards
   Qor::assertThat(index < actions.size(), "false");
   return actions[index];
}

velm::ip_addr_t ipAddressToIpAddr(pb::ip_address_msg const& address) { return trustedAddress(address.addr()); }

velm::ip_prefix_t ipPrefixToPrefix(pb::ip_prefix_msg const& prefix) {
   auto const address = trustedAddress(prefix.addr());
   if (address.af() == velm::af_t::none) return {};  // without the length: it is the default prefix
   return {address, static_cast<unsigned char>(prefix.prefix_length())};
}

void ipAddrToIpAddress(velm::ip_addr_t const& address, pb::ip_address_msg* message) {
   Qor::assertThat(address.af() != velm::af_t::none, "false");
   message->set_addr(address.addr(), velm::address_size(address.af()));
}

pb::ip_address_msg ipAddrToIpAddress(velm::ip_addr_t const& address) {
   pb::ip_address_msg message;
   ipAddrToIpAddress(address, &message);
   return message;
}

void ipGenAddrToIpAddress(Brel::IpGenAddr const& address, pb::ip_address_msg* message) {
   message->set_addr(address.bytes().stdString());
}

pb::ip_address_msg ipGenAddrToIpAddress(Brel::IpGenAddr const& address) {
   pb::ip_address_msg message;
   ipGenAddrToIpAddress(address, &message);
   return message;
}

void convertKey(velm::sbfd_echo_session_key_t const& key, pb::sbfd_echo_session_key_msg* message) {
   message->set_outgoing_interface(key.nexthop_intf().to_string());
   ipAddrToIpAddress(key.nexthop(), message->mutable_nexthop());
   auto const& labels = key.labels();  // a forward_list, which does not know its length
   message->mutable_labels()->Reserve(static_cast<int>(std::distance(labels.begin(), labels.end())));
   for (auto const& label : labels) message->add_labels(label.label());
   message->set_dscp(key.ip_dscp());
   message->set_mpls_exp(key.mpls_exp());
}

namespace pb {
namespace {

// The message's name with its namespaces, which is worked out once for each type: demangling allocates.
template <class Message>
std::string const& typeName(Message const&) {
   static std::string const name = Qor::demangle(typeid(Message));
   return name;
}

// Appends pieces in order: text, numbers, booleans, enums by name, messages in their own form, and whatever appends
// itself. The value of an enum that the schema does not list has no name and appends nothing.
template <class... Pieces>
void append(std::string& text, Pieces const&... pieces) {
   auto const one = [&text]<class Piece>(Piece const& piece) {
      if constexpr (Rendered<Piece>) {
         appendText(text, piece);
      } else if constexpr (std::is_enum_v<Piece>) {
         text += google::protobuf::internal::NameOfEnum(google::protobuf::GetEnumDescriptor<Piece>(), piece);
      } else if constexpr (std::same_as<Piece, bool>) {
         text += piece ? "true" : "false";
      } else if constexpr (std::integral<Piece>) {
         fmt::format_int const digits(piece);
         text.append(digits.data(), digits.size());
      } else if constexpr (std::invocable<Piece const&, std::string&>) {
         piece(text);
      } else {
         text += piece;
      }
   };
   (one(pieces), ...);
}

// The elements with ", " between them; `show` gives what stands for an element. Refers to the elements: it is to be
// used up by the expression that makes it.
template <class Elements, class Show = std::identity>
auto list(Elements const& elements, Show show = {}) {
   return [&elements, show](std::string& text) {
      std::string_view separator;
      for (auto const& element : elements) {
         append(text, separator, show(element));
         separator = ", ";
      }
   };
}

std::string const& keyOf(rpc_server_key_value_pair_msg const& pair) { return pair.key(); }

// Refers to the pair, as list() does to its elements.
auto pairOf(rpc_server_key_value_pair_msg const& pair) {
   return [&pair](std::string& text) { append(text, pair.key(), "=", pair.value()); };
}

}  // namespace

void appendText(std::string& text, ip_address_msg const& address) { text += ipAddressToIpAddr(address).to_string(); }

void appendText(std::string& text, ip_prefix_msg const& prefix) { text += ipPrefixToPrefix(prefix).to_string(); }

void appendText(std::string& text, rpc_status_msg const& status) { append(text, status.status()); }

void appendText(std::string& text, sbfd_echo_session_oper_status_msg const& status) { append(text, status.status()); }

void appendText(std::string& text, ip_route_msg const& route) {
   append(text, typeName(route), "{prefix=", route.prefix());
   if (route.has_nexthop_group()) append(text, " nexthopGroup=", route.nexthop_group());
   append(text, " tag=", route.tag(), "}");
}

void appendText(std::string& text, nexthop_group_tunnel_msg const& tunnel) {
   append(text, typeName(tunnel), "{prefix=", tunnel.prefix(), " nexthopGroup=", tunnel.nexthop_group(),
          " igpMetric=", tunnel.igp_metric(), "}");
}

void appendText(std::string& text, mpls_route_msg_forward_nexthop_group_msg const& forward) {
   append(text, typeName(forward), "{nexthopGroup=", forward.nexthop_group(), " mplsOp=", forward.mpls_operation(),
          "}");
}

// No bracket closes the list of what is set. Clients have read it so from the first, and so it stays.
void appendText(std::string& text, rpc_server_state_config_msg const& config) {
   append(text, typeName(config), "{set=[", list(config.set(), pairOf), " delete=[", list(config.delete_(), keyOf),
          "]}");
}

// Keys only, also of an answer, whose pairs have values.
void appendText(std::string& text, rpc_server_state_status_msg const& status) {
   append(text, typeName(status), "{value=[", list(status.value(), keyOf), "]}");
}

void appendText(std::string& text, nexthop_msg const& nexthop) {
   append(text, typeName(nexthop), "{nexthopIp=", nexthop.nexthop_ip(),
          " nexthopInterface=", nexthop.nexthop_interface(), " mplsOp=", nexthop.mpls_operation(), " labels=[",
          list(nexthop.labels()), "] replicateCount=", nexthop.replicate_count(), "}");
}

void appendText(std::string& text, mpls_route_msg const& route) {
   append(text, typeName(route), "{label=", route.label(), " requestDelete=", route.request_delete());
   switch (route.forwarding_nexthop_case()) {
      case mpls_route_msg::kForwardNexthopGroup: append(text, " nexthopGroup=", route.forward_nexthop_group()); break;
      case mpls_route_msg::kPopAndForwardVrfName:
         append(text, " popAndForwardVrfName=", route.pop_and_forward_vrf_name());
         break;
      case mpls_route_msg::kNexthop: append(text, " nexthop=", route.nexthop()); break;
      case mpls_route_msg::FORWARDING_NEXTHOP_NOT_SET: break;
   }
   append(text, "}");
}

void appendText(std::string& text, cbf_nexthop_group_redirect_msg const& redirect) {
   append(text, typeName(redirect), "{matchNexthopGroup=", redirect.match_nexthop_group_name(), " matchIpv4Dscp=[",
          list(redirect.match_ipv4_dscp()), "] matchIpv6Dscp=[", list(redirect.match_ipv6_dscp()),
          "] redirectNexthopGroup=", redirect.redirect_nexthop_group_name(),
          " requestDelete=", redirect.request_delete(), "}");
}

void appendText(std::string& text, sbfd_echo_session_key_msg const& key) {
   append(text, typeName(key), "{outgoingInterface=", key.outgoing_interface(), " nexthop=", key.nexthop(), " labels=[",
          list(key.labels()), "] dscp=", key.dscp(), " mplsExp=", key.mpls_exp(), "}");
}

void appendText(std::string& text, sbfd_echo_session_msg const& session) {
   append(text, typeName(session), "{sessionKey=", session.session_key(), " requestDelete=", session.request_delete(),
          " rttEnabled=", session.rtt_enabled(), " minTx=", session.min_tx(),
          " detectionMultiplier=", session.detection_multiplier(),
          " trackInterfaceState=", session.track_interface_state(), "}");
}

void appendText(std::string& text, watch_sbfd_echo_session_config_msg const& config) {
   append(text, typeName(config), "{requestRttUpdates=", config.request_rtt_updates(), "}");
}

// Two flags, counters_unshared and autosize, have no place in the text.
void appendText(std::string& text, nexthop_group_msg const& group) {
   append(text, typeName(group), "{name=", group.name(), " requestDelete=", group.request_delete(), " nexthop=[",
          list(group.nexthop()), "] nexthopGroupType=", group.nexthop_group_type(), "}");
}

void appendText(std::string& text, sbfd_echo_session_rtt_msg const& rtt) {
   append(text, typeName(rtt), "{lastRtt=", rtt.last_rtt(), " minRtt=", rtt.min_rtt(), " avgRtt=", rtt.avg_rtt(),
          " maxRtt=", rtt.max_rtt(), " snapshotMinRtt=", rtt.snapshot_min_rtt(),
          " snapshotAvgRtt=", rtt.snapshot_avg_rtt(), " snapshotMaxRtt=", rtt.snapshot_max_rtt(), "}");
}

// One type serves as a batch and as each of its elements. Unlike all other messages it shows only the parts that it
// has, with a blank between two.
void appendText(std::string& text, watch_sbfd_echo_session_status_msg const& update) {
   append(text, typeName(update), "{");
   std::string_view blank;
   auto const part = [&](auto const&... pieces) {
      append(text, blank, pieces...);
      blank = " ";
   };
   if (update.has_session_key()) part("sessionKey=", update.session_key());
   switch (update.update_case()) {
      case watch_sbfd_echo_session_status_msg::kStatus: part("status=", update.status()); break;
      case watch_sbfd_echo_session_status_msg::kRtt: part("rtt=", update.rtt()); break;
      case watch_sbfd_echo_session_status_msg::kEndOfStatusBatch:
         part("endOfStatusBatch=", update.end_of_status_batch());
         break;
      case watch_sbfd_echo_session_status_msg::UPDATE_NOT_SET: break;
   }
   if (update.bulk_size() > 0) {
      part("bulk=#", update.bulk_size(), "[");
      for (auto const& element : update.bulk())
         append(text, ", ", element);  // also before the first, as clients know it
      append(text, "]");
   }
   append(text, "}");
}

}  // namespace pb
}  // namespace VelmSdkRpc
