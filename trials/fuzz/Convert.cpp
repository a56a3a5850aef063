// Conversions between the wire and the switch's values: of any message and of any value, also such as no client and no
// switch should bring.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "convert/Acl.h"
#include "convert/BgpPath.h"
#include "convert/EthLagIntf.h"
#include "convert/Format.h"
#include "convert/Intf.h"
#include "convert/IpRoute.h"
#include "convert/Macsec.h"
#include "convert/MplsRoute.h"
#include "convert/NexthopGroup.h"
#include "convert/PolicyMap.h"
#include "convert/Utils.h"
#include "convert/Values.h"
#include "platform/switch/Codec.h"
#include "platform/velm/acl.h"
#include "platform/velm/bgp_path.h"
#include "platform/velm/errors.h"
#include "platform/velm/eth_lag_intf.h"
#include "platform/velm/intf.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/macsec.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/policy_map.h"
#include "tests/support/AnyMessage.h"
#include "trials/fuzz/Choices.h"

namespace VelmSdkRpc::types {
namespace {

using fuzz::Choices;
namespace remote = velm::remote;

/// Fields hold anything that the wire can carry.
class AnyWire : public AnyMessage {
 public:
   explicit AnyWire(Choices& choices) : AnyMessage(choices.draw()), choices_(choices) {}

 protected:
   std::string text(Field const& field) override {
      if (!oneIn(3)) return AnyMessage::text(field);
      std::string text(choices_.take(upTo(20)));
      for (char& c : text) c = static_cast<char>(c & 0x7f);
      return text;
   }
   std::string bytes(Field const& field) override {
      return oneIn(4) ? randomBytes(upTo(20)) : AnyMessage::bytes(field);
   }
   int enumNumber(Field const& field) override {
      return oneIn(8) ? static_cast<int>(number(field)) : AnyMessage::enumNumber(field);
   }
   std::pair<std::string, std::uint32_t> prefix() override {
      if (!oneIn(4)) return AnyMessage::prefix();
      return {randomBytes(upTo(20)), upTo(1000)};
   }

 private:
   Choices& choices_;
};

/// Does what may fail; whether it did not. Any error that is not of the documented kinds ends the process.
template <class Work>
bool done(Work&& work) {
   try {
      work();
      return true;
   } catch (velm::invalid_argument_error const&) {
   } catch (velm::unsupported_error const&) {
   }
   return false;
}

template <class Message>
Message any(Choices& choices) {
   Message message;
   AnyWire(choices).fill(message);
   auto const text = fmt::format("{}", message);
   fuzz::expect(text.find('\n') == std::string::npos, "more than a line: {}", text);
   return message;
}

/// A value that came from the wire goes back and comes again as it was.
template <class Message>
void thereAndBack(Choices& choices) {
   auto const message = any<Message>(choices);
   std::optional<decltype(convert(message))> value;
   if (!done([&] { value = convert(message); })) return;
   auto const again = convert(convert(*value));
   fuzz::expect(again == *value, "another value of {} and of {}", message.ShortDebugString(),
                convert(*value).ShortDebugString());
}

template <class Message>
void there(Choices& choices) {
   auto const message = any<Message>(choices);
   done([&] { convert(message); });
}

/// A value of any bytes, as far as a stored one may have them.
template <class Value>
void toWire(Choices& choices) {
   Value value;
   velm::embedded::StoredBytes bytes(choices.rest());
   try {
      decode(bytes, value);
   } catch (velm::embedded::DamagedState const&) {
      // The part that was read will do.
   }
   done([&] { convert(value); });
}

using Conversion = void (*)(Choices&);
template <class... Messages>
std::vector<Conversion> thereAndBackOf() {
   return {thereAndBack<Messages>...};
}
template <class... Messages>
std::vector<Conversion> thereOf() {
   return {there<Messages>...};
}
template <class... Values>
std::vector<Conversion> toWireOf() {
   return {toWire<Values>...};
}

std::vector<Conversion> const& oneOf(Choices& choices) {
   static std::array const conversions{
      thereAndBackOf<remote::AclTtlSpec, remote::AclPortSpec, remote::AclRuleIp, remote::BgpPathKey, remote::IntfId,
                     remote::IpAddrMask, remote::IpRouteKey, remote::IpRoute, remote::IpRouteVia, remote::MacsecKey,
                     remote::MacsecProfile, remote::MplsFecId, remote::MplsLabel, remote::MplsRouteKey,
                     remote::MplsRoute, remote::MplsRouteVia, remote::NexthopGroupMplsAction, remote::NexthopGroupEntry,
                     remote::NexthopGroup, remote::PolicyMapKey, remote::PolicyMapAction, remote::PolicyMapRule,
                     remote::PolicyMap, remote::Prefix>(),
      thereOf<remote::BgpPathAttrFields, remote::BgpPathOptions>(),
      toWireOf<velm::acl_port_spec_t, velm::acl_rule_ip_t, velm::acl_ttl_spec_t, velm::bgp_path_attr_t,
               velm::bgp_path_key_t, velm::bgp_path_t, velm::eth_lag_intf_membership_t, velm::eth_lag_intf_t,
               velm::intf_counters_t, velm::intf_traffic_rates_t, velm::ip_route_t, velm::ip_route_via_t,
               velm::macsec_intf_counters_t, velm::macsec_intf_status_t, velm::macsec_profile_t, velm::mpls_route_t,
               velm::mpls_route_via_t, velm::nexthop_group_t, velm::policy_map_hw_status_key_t,
               velm::policy_map_hw_statuses_t, velm::policy_map_t>()};
   return choices.oneOf(conversions);
}

}  // namespace
}  // namespace VelmSdkRpc::types

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   VelmSdkRpc::fuzz::Choices choices(data, size);
   choices.oneOf(VelmSdkRpc::types::oneOf(choices))(choices);
   return 0;
}
