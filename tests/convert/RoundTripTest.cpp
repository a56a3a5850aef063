#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>

#include "convert/Acl.h"
#include "convert/BgpPath.h"
#include "convert/EthLagIntf.h"
#include "convert/Intf.h"
#include "convert/IpRoute.h"
#include "convert/Macsec.h"
#include "convert/MplsRoute.h"
#include "convert/NexthopGroup.h"
#include "convert/PolicyMap.h"
#include "platform/switch/Json.h"
#include "platform/velm/acl.h"
#include "platform/velm/bgp_path.h"
#include "platform/velm/enums.h"
#include "platform/velm/eth_lag_intf.h"
#include "platform/velm/intf.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/macsec.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/policy_map.h"
#include "proto/remote/eth_lag_intf.pb.h"
#include "proto/remote/intf.pb.h"
#include "tests/convert/AnyValue.h"

namespace VelmSdkRpc::types {
namespace {

using google::protobuf::util::MessageDifferencer;

template <class Value>
std::string json(Value const& value) {
   return velm::embedded::jsonObject([&](auto& writer) { velm::embedded::writeAttributes(writer, value); });
}

/// The attributes of a base class stand in a message of their own, and count like the others.
std::vector<std::string> differingFields(google::protobuf::Message const& a, google::protobuf::Message const& b) {
   std::vector<std::string> names;
   for (int at = 0; at < a.GetDescriptor()->field_count(); ++at) {
      auto const* field = a.GetDescriptor()->field(at);
      if (field->name() == "base") {
         auto const* reflection = a.GetReflection();
         names = differingFields(reflection->GetMessage(a, field), reflection->GetMessage(b, field));
      } else if (!MessageDifferencer().CompareWithFields(a, b, {field}, {field})) {
         names.push_back(field->name());
      }
   }
   return names;
}

/// The value as it comes back.
template <class Value>
Value const& returned(Value const& value) {
   return value;
}
/// Two zeros stand for the default, and the interfaces are not the profile's to set.
velm::macsec_profile_t returned(velm::macsec_profile_t profile) {
   velm::macsec_profile_t const standard;
   if (profile.mka_life_time() == 0) profile.mka_life_time_is(standard.mka_life_time());
   if (profile.cipher() == velm::macsec_cipher_suite_t::none) profile.cipher_is(standard.cipher());
   profile.intfs_is({});
   return profile;
}

template <class Value>
struct FieldsTest : testing::Test {};
template <class Value>
struct RoundTripTest : testing::Test {};

template <class... More>
using Records =
   testing::Types<velm::ip_route_key_t, velm::ip_route_t, velm::ip_route_via_t, velm::mpls_route_key_t,
                  velm::mpls_route_t, velm::mpls_route_via_t, velm::nexthop_group_mpls_action_t,
                  velm::nexthop_group_entry_t, velm::nexthop_group_t, velm::bgp_path_key_t, velm::acl_ttl_spec_t,
                  velm::acl_port_spec_t, velm::acl_rule_ip_t, velm::policy_map_key_t, velm::policy_map_action_t,
                  velm::policy_map_rule_t, velm::policy_map_t, velm::macsec_key_t, velm::macsec_profile_t, More...>;
TYPED_TEST_SUITE(RoundTripTest, Records<>);
// There is no way back for these.
using SentRecords =
   Records<velm::bgp_path_attr_t, velm::bgp_path_t, velm::policy_map_hw_status_key_t, velm::policy_map_hw_statuses_t,
           velm::macsec_intf_status_t, velm::macsec_intf_counters_t, velm::eth_lag_intf_t,
           velm::eth_lag_intf_membership_t, velm::intf_counters_t, velm::intf_traffic_rates_t>;
TYPED_TEST_SUITE(FieldsTest, SentRecords);

TYPED_TEST(RoundTripTest, NothingIsLostOnTheWire) {
   AnyValue any(1);
   for (int round = 0; round < 2000; ++round) {
      TypeParam value;
      any.fill(value);
      auto const sent = convert(value);
      std::remove_const_t<decltype(sent)> received;
      ASSERT_TRUE(received.ParseFromString(sent.SerializeAsString()));
      auto const back = convert(received);
      ASSERT_TRUE(back == returned(value))
         << json(value) << "\ncame back as " << json(back) << "\nfrom " << received.ShortDebugString();
   }
}

TYPED_TEST(FieldsTest, AnAttributeIsTheFieldOfItsNameAndNoOther) {
   AnyValue any(2);
   TypeParam value;
   auto before = convert(value);
   velm::for_each_attribute(value, [&](char const* name, auto& member) {
      for (auto const old = member; member == old;) any.fill(member);
      auto const after = convert(value);
      EXPECT_THAT(differingFields(before, after), testing::ElementsAre(name)) << after.ShortDebugString();
      before = after;
   });
}

/// The schema lists the row's numbers and no others, and the SDK takes their twins and no others.
template <class Wire, class Sdk, Ways ways, class Error>
void expectWhole(EnumRow<Wire, Sdk, ways, Error> const& row) {
   auto const* const schema = google::protobuf::GetEnumDescriptor<Wire>();
   EXPECT_EQ(row.first, schema->value(0)->name().ends_with("_UNSPECIFIED") ? 1 : 0) << schema->name();
   EXPECT_EQ(row.last, schema->value(schema->value_count() - 1)->number()) << schema->name();
   EXPECT_EQ(row.last + 1, schema->value_count()) << schema->name();
   for (int number = 0; number < 256; ++number) {
      EXPECT_EQ(is_valid(static_cast<Sdk>(number)), number <= row.last - row.first) << schema->name() << number;
   }
}
template <class... Rows>
void expectAllWhole(EnumTable<Rows...> const& table) {
   (expectWhole(static_cast<Rows const&>(table)), ...);
}

TEST(EnumTest, EveryRowIsTheRangeOfBothSides) { expectAllWhole(enumTable); }

}  // namespace
}  // namespace VelmSdkRpc::types
