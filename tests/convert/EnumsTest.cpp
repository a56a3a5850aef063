#include <fmt/format.h>
#include <google/protobuf/generated_enum_reflection.h>
#include <gtest/gtest.h>

#include <climits>

#include "convert/Enums.h"
#include "platform/velm/acl.h"
#include "platform/velm/enums.h"
#include "platform/velm/eth_lag_intf.h"
#include "platform/velm/intf.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/macsec.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/policy_map.h"
#include "proto/remote/acl.pb.h"
#include "proto/remote/eth_lag_intf.pb.h"
#include "proto/remote/intf.pb.h"
#include "proto/remote/ip_route.pb.h"
#include "proto/remote/macsec.pb.h"
#include "proto/remote/mpls_route.pb.h"
#include "proto/remote/nexthop_group.pb.h"
#include "proto/remote/policy_map.pb.h"
#include "tests/convert/ErrorText.h"

namespace VelmSdkRpc::types {
namespace {

using velm::invalid_argument_error;
using velm::unsupported_error;

template <class Enum>
constexpr bool converts = requires(Enum value) {
   convert(value);
};

/// Both ways from `first` to `last` of the wire, which are the SDK's numbers from 0, and the refusal of all others. The
/// schema must list the range and nothing behind it, and the switch take the range and nothing else.
template <class Wire, class Sdk, Ways ways, class Error>
void expectRow(int first, int last, char const* text) {
   SCOPED_TRACE(typeid(Wire).name());
   auto const message = [&](int number) { return fmt::format(fmt::runtime(text), number); };
   auto const* schema = google::protobuf::GetEnumDescriptor<Wire>();
   EXPECT_EQ(schema->FindValueByNumber(last + 1), nullptr);
   EXPECT_EQ(schema->value_count(), last + 1);
   static_assert(converts<Wire> == (ways != Ways::toWire) && converts<Sdk> == (ways != Ways::toSdk));
   for (int number = 0; number < 256; ++number) EXPECT_EQ(is_valid(static_cast<Sdk>(number)), number <= last - first);
   if constexpr (converts<Wire>) {
      for (int number = first; number <= last; ++number) {
         EXPECT_EQ(convert(static_cast<Wire>(number)), static_cast<Sdk>(number - first));
      }
      for (int const number : {first - 1, last + 1, INT_MIN, INT_MAX, 256 + first}) {
         EXPECT_EQ(errorText<Error>([&] { convert(static_cast<Wire>(number)); }), message(number));
      }
   }
   if constexpr (converts<Sdk>) {
      for (int number = first; number <= last; ++number) {
         EXPECT_EQ(convert(static_cast<Sdk>(number - first)), static_cast<Wire>(number));
      }
      for (int const number : {last - first + 1, 255}) {
         EXPECT_EQ(errorText<Error>([&] { convert(static_cast<Sdk>(number)); }), message(number));
      }
   }
}

template <class Wire, class Sdk, Ways ways = Ways::both>
constexpr auto argument = expectRow<Wire, Sdk, ways, invalid_argument_error>;
template <class Wire, class Sdk, Ways ways = Ways::both>
constexpr auto unsupported = expectRow<Wire, Sdk, ways, unsupported_error>;

// clang-format off
TEST(EnumTest, EveryNumberIsItsTwinOrAnError) {
   argument<remote::AclAction, velm::acl_action_t>(0, 2, "Unknown value for Acl action: {}");
   argument<remote::AclDirection, velm::acl_direction_t>(0, 2, "Unknown value for Acl direction: {}");
   argument<remote::AclIpType, velm::acl_ip_type_t>(1, 3, "Unknown value for Acl IP type: {}");
   argument<remote::AclRangeOperator, velm::acl_range_operator_t>(0, 6, "Unknown value for Acl range operator: {}");
   argument<remote::IpRouteActions, velm::ip_route_action_t, Ways::toSdk>(
      0, 3, "Unknown value for ip_route_action_t: {}");
   argument<remote::MacsecBypass, velm::macsec_bypass_t>(0, 2, "Invalid macsec bypass {}");
   argument<remote::MacsecCipherSuite, velm::macsec_cipher_suite_t>(0, 4, "Invalid macsec cipher suite {}");
   argument<remote::MacsecIntfKeyStatus, velm::macsec_intf_key_status_t, Ways::toWire>(
      1, 6, "Invalid Macsec intf key status {}");
   argument<remote::MacsecIntfTrafficStatus, velm::macsec_intf_traffic_status_t, Ways::toWire>(
      1, 3, "Invalid Macsec intf traffic status {}");
   argument<remote::MacsecProfileTrafficPolicy, velm::macsec_profile_traffic_policy_t>(
      0, 3, "Invalid macsec traffic policy {}");
   argument<remote::MplsActions, velm::mpls_action_t>(0, 4, "Unknown value for mpls action: {}");
   argument<remote::MplsPayloadType, velm::mpls_payload_type_t>(0, 4, "Unknown value for mpls payload type: {}");
   argument<remote::MplsTtlMode, velm::mpls_ttl_mode_t>(0, 2, "Unknown value for mpls ttl mode: {}");
   argument<remote::NexthopGroupEncapTypes, velm::nexthop_group_encap_t>(
      0, 5, "Unknown value for nexthop_group_encap_t: {}");
   argument<remote::NexthopGroupGreKeyTypes, velm::nexthop_group_gre_key_t>(
      0, 1, "Unknown value for nexthop_group_gre_key_t {}");
   argument<remote::PolicyActionType, velm::policy_action_type_t>(0, 6, "Unknown value for policy action type: {}");
   argument<remote::PolicyFeature, velm::policy_feature_t>(0, 3, "Unknown value for policy feature: {}");
   argument<remote::PolicyMapRuleType, velm::policy_map_rule_type_t>(
      1, 3, "Unknown value for policy map rule type: {}");
   argument<remote::PolicyMapStatus, velm::policy_map_status_t, Ways::toWire>(
      1, 4, "Unknown value for policy feature: {}");
   unsupported<remote::EthLagIntfFallbackType, velm::eth_lag_intf_fallback_type_t>(0, 3, "unknown fallback type {}");
   unsupported<remote::EthLagIntfMemberLacpMode, velm::eth_lag_intf_member_lacp_mode_t>(
      0, 3, "unknown LACP member mode {}");
   unsupported<remote::EthLagIntfMemberLacpTimeout, velm::eth_lag_intf_member_lacp_timeout_t>(
      0, 2, "unknown LACP member timeout mode {} ");
   unsupported<remote::OperStatus, velm::oper_status_t, Ways::toWire>(0, 2, "invalid oper_status_t");
}
// clang-format on

}  // namespace
}  // namespace VelmSdkRpc::types
