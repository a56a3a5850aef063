#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>

#include "convert/BgpPath.h"
#include "convert/IpRoute.h"
#include "convert/MplsRoute.h"
#include "convert/NexthopGroup.h"
#include "platform/switch/Json.h"
#include "platform/velm/bgp_path.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "tests/convert/AnyValue.h"

namespace VelmSdkRpc::types {
namespace {

using google::protobuf::util::MessageDifferencer;

template <class Value>
std::string json(Value const& value) {
   return velm::embedded::jsonObject([&](auto& writer) { velm::embedded::writeAttributes(writer, value); });
}

std::vector<std::string> differingFields(google::protobuf::Message const& a, google::protobuf::Message const& b) {
   std::vector<std::string> names;
   for (int at = 0; at < a.GetDescriptor()->field_count(); ++at) {
      auto const* field = a.GetDescriptor()->field(at);
      if (!MessageDifferencer().CompareWithFields(a, b, {field}, {field})) names.push_back(field->name());
   }
   return names;
}

template <class Value>
struct FieldsTest : testing::Test {};
template <class Value>
struct RoundTripTest : testing::Test {};

template <class... More>
using Records = testing::Types<velm::ip_route_key_t, velm::ip_route_t, velm::ip_route_via_t, velm::mpls_route_key_t,
                               velm::mpls_route_t, velm::mpls_route_via_t, velm::nexthop_group_mpls_action_t,
                               velm::nexthop_group_entry_t, velm::nexthop_group_t, velm::bgp_path_key_t, More...>;
TYPED_TEST_SUITE(RoundTripTest, Records<>);
// There is no way back for these two.
using SentRecords = Records<velm::bgp_path_attr_t, velm::bgp_path_t>;
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
      ASSERT_TRUE(back == value) << json(value) << "\ncame back as " << json(back) << "\nfrom "
                                 << received.ShortDebugString();
   }
}

TYPED_TEST(FieldsTest, AnAttributeIsTheFieldOfItsNameAndNoOther) {
   AnyValue any(2);
   TypeParam value;
   auto before = convert(value);
   velm::for_each_attribute(value, [&](char const* name, auto& member) {
      for (auto const old = member; member == old;) any.fill(member);
      auto const after = convert(value);
      EXPECT_THAT(differingFields(before, after), testing::ElementsAre(name)) << json(value);
      before = after;
   });
}

}  // namespace
}  // namespace VelmSdkRpc::types
