#pragma once

// Every enum that crosses between the wire and the SDK, one row each: its numbers, its error and that error's text.
//
// Both sides may bring numbers that this program does not know: the wire's enums are open, and the SDK may be newer.
// Such a number ends in the row's error, never in a cast.
//
// The numbers of both sides are alike, or the wire's are one higher: where the SDK's 0 means something, the wire keeps
// its 0 free, so that a field which was left out is refused instead of being taken for the SDK's first value.
//
// The enums are only declared here, so that who changes one feature's schema does not compile the others again.

#include <cstdint>

#include "platform/velm/errors.h"

namespace velm {

enum class acl_action_t : std::uint8_t;
enum class acl_direction_t : std::uint8_t;
enum class acl_ip_type_t : std::uint8_t;
enum class acl_range_operator_t : std::uint8_t;
enum class eth_lag_intf_fallback_type_t : std::uint8_t;
enum class eth_lag_intf_member_lacp_mode_t : std::uint8_t;
enum class eth_lag_intf_member_lacp_timeout_t : std::uint8_t;
enum class ip_route_action_t : std::uint8_t;
enum class macsec_bypass_t : std::uint8_t;
enum class macsec_cipher_suite_t : std::uint8_t;
enum class macsec_intf_key_status_t : std::uint8_t;
enum class macsec_intf_traffic_status_t : std::uint8_t;
enum class macsec_profile_traffic_policy_t : std::uint8_t;
enum class mpls_action_t : std::uint8_t;
enum class mpls_payload_type_t : std::uint8_t;
enum class mpls_ttl_mode_t : std::uint8_t;
enum class nexthop_group_encap_t : std::uint8_t;
enum class nexthop_group_gre_key_t : std::uint8_t;
enum class oper_status_t : std::uint8_t;
enum class policy_action_type_t : std::uint8_t;
enum class policy_feature_t : std::uint8_t;
enum class policy_map_rule_type_t : std::uint8_t;
enum class policy_map_status_t : std::uint8_t;

namespace remote {

enum AclAction : int;
enum AclDirection : int;
enum AclIpType : int;
enum AclRangeOperator : int;
enum EthLagIntfFallbackType : int;
enum EthLagIntfMemberLacpMode : int;
enum EthLagIntfMemberLacpTimeout : int;
enum IpRouteActions : int;
enum MacsecBypass : int;
enum MacsecCipherSuite : int;
enum MacsecIntfKeyStatus : int;
enum MacsecIntfTrafficStatus : int;
enum MacsecProfileTrafficPolicy : int;
enum MplsActions : int;
enum MplsPayloadType : int;
enum MplsTtlMode : int;
enum NexthopGroupEncapTypes : int;
enum NexthopGroupGreKeyTypes : int;
enum OperStatus : int;
enum PolicyActionType : int;
enum PolicyFeature : int;
enum PolicyMapRuleType : int;
enum PolicyMapStatus : int;

}  // namespace remote
}  // namespace velm

namespace VelmSdkRpc::types {

namespace remote = velm::remote;

/// Throws an Error with `text`, the number in its placeholder. Out of line, so that only one source needs {fmt}.
template <class Error>
[[noreturn]] void refuse(char const* text, int number);

/// An enum that the SDK only reports has no way to the SDK, and the other way round: a conversion that nobody may need
/// does not compile.
enum class Ways { both, toSdk, toWire };

/// An enum of the wire and its twin of the SDK. Throws Error for a number outside the range of its side.
template <class Wire, class Sdk, Ways ways, class Error>
struct EnumRow {
   // The wire's numbers, both included; the SDK's begin at 0.
   int first;
   int last;
   char const* text;

   Sdk operator()(Wire value) const requires(ways != Ways::toWire) {
      return static_cast<Sdk>(inRange(value, first, last) - first);
   }
   Wire operator()(Sdk value) const requires(ways != Ways::toSdk) {
      return static_cast<Wire>(inRange(static_cast<int>(value), 0, last - first) + first);
   }

 private:
   int inRange(int number, int low, int high) const {
      if (number < low || number > high) refuse<Error>(text, number);
      return number;
   }
};
template <class Wire, class Sdk, class Error = velm::invalid_argument_error>
using Both = EnumRow<Wire, Sdk, Ways::both, Error>;
template <class Wire, class Sdk, class Error = velm::invalid_argument_error>
using ToSdk = EnumRow<Wire, Sdk, Ways::toSdk, Error>;
template <class Wire, class Sdk, class Error = velm::invalid_argument_error>
using ToWire = EnumRow<Wire, Sdk, Ways::toWire, Error>;

/// Converts an enum of any of its rows, from either side; the type of the argument tells the row and the way.
template <class... Rows>
struct EnumTable : Rows... {
   using Rows::operator()...;
};
template <class... Rows>
EnumTable(Rows...) -> EnumTable<Rows...>;

// The texts are an interface: clients have always read them so, including the one of PolicyMapStatus, which speaks of
// another enum, and the one that ends in a blank. So are the classes of error: clients see UNIMPLEMENTED for the enums
// of LAGs and for OperStatus, INVALID_ARGUMENT for all others.
// clang-format off
inline constexpr EnumTable enumTable{
   Both<remote::AclAction, velm::acl_action_t>{0, 2, "Unknown value for Acl action: {}"},
   Both<remote::AclDirection, velm::acl_direction_t>{0, 2, "Unknown value for Acl direction: {}"},
   Both<remote::AclIpType, velm::acl_ip_type_t>{1, 3, "Unknown value for Acl IP type: {}"},
   Both<remote::AclRangeOperator, velm::acl_range_operator_t>{0, 6, "Unknown value for Acl range operator: {}"},
   ToSdk<remote::IpRouteActions, velm::ip_route_action_t>{0, 3, "Unknown value for ip_route_action_t: {}"},
   Both<remote::MacsecBypass, velm::macsec_bypass_t>{0, 2, "Invalid macsec bypass {}"},
   Both<remote::MacsecCipherSuite, velm::macsec_cipher_suite_t>{0, 4, "Invalid macsec cipher suite {}"},
   ToWire<remote::MacsecIntfKeyStatus, velm::macsec_intf_key_status_t>{1, 6, "Invalid Macsec intf key status {}"},
   ToWire<remote::MacsecIntfTrafficStatus, velm::macsec_intf_traffic_status_t>{
      1, 3, "Invalid Macsec intf traffic status {}"},
   Both<remote::MacsecProfileTrafficPolicy, velm::macsec_profile_traffic_policy_t>{
      0, 3, "Invalid macsec traffic policy {}"},
   Both<remote::MplsActions, velm::mpls_action_t>{0, 4, "Unknown value for mpls action: {}"},
   Both<remote::MplsPayloadType, velm::mpls_payload_type_t>{0, 4, "Unknown value for mpls payload type: {}"},
   Both<remote::MplsTtlMode, velm::mpls_ttl_mode_t>{0, 2, "Unknown value for mpls ttl mode: {}"},
   Both<remote::NexthopGroupEncapTypes, velm::nexthop_group_encap_t>{
      0, 5, "Unknown value for nexthop_group_encap_t: {}"},
   Both<remote::NexthopGroupGreKeyTypes, velm::nexthop_group_gre_key_t>{
      0, 1, "Unknown value for nexthop_group_gre_key_t {}"},
   Both<remote::PolicyActionType, velm::policy_action_type_t>{0, 6, "Unknown value for policy action type: {}"},
   Both<remote::PolicyFeature, velm::policy_feature_t>{0, 3, "Unknown value for policy feature: {}"},
   Both<remote::PolicyMapRuleType, velm::policy_map_rule_type_t>{1, 3, "Unknown value for policy map rule type: {}"},
   ToWire<remote::PolicyMapStatus, velm::policy_map_status_t>{1, 4, "Unknown value for policy feature: {}"},
   Both<remote::EthLagIntfFallbackType, velm::eth_lag_intf_fallback_type_t, velm::unsupported_error>{
      0, 3, "unknown fallback type {}"},
   Both<remote::EthLagIntfMemberLacpMode, velm::eth_lag_intf_member_lacp_mode_t, velm::unsupported_error>{
      0, 3, "unknown LACP member mode {}"},
   Both<remote::EthLagIntfMemberLacpTimeout, velm::eth_lag_intf_member_lacp_timeout_t, velm::unsupported_error>{
      0, 2, "unknown LACP member timeout mode {} "},
   ToWire<remote::OperStatus, velm::oper_status_t, velm::unsupported_error>{0, 2, "invalid oper_status_t"},
};
// clang-format on

/// Gives the twin of an enum's value on the other side; throws as its row says.
template <class Enum>
requires requires(Enum value) { enumTable(value); }
auto convert(Enum value) { return enumTable(value); }

}  // namespace VelmSdkRpc::types
