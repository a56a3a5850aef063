#include <gmock/gmock.h>

#include "convert/Utils.h"
#include "platform/brel/IpGenAddr.h"
#include "platform/velm/bfd.h"

namespace VelmSdkRpc {
namespace {

using testing::ElementsAre;
using velm::mpls_action_t;

pb::ip_address_msg wire(std::string const& bytes) {
   pb::ip_address_msg message;
   message.set_addr(bytes);
   return message;
}

auto operation(int value) { return static_cast<pb::nexthop_msg_mpls_operation_enum>(value); }

TEST(MplsOpTest, ThreeSwapsAreOneAction) {
   std::vector<mpls_action_t> actions;
   for (int value = 0; value <= 5; ++value) actions.push_back(mplsOpToMplsAction(operation(value)));
   using enum mpls_action_t;
   EXPECT_THAT(actions, ElementsAre(none, push, pop, swap, swap, swap));
}

TEST(WireAddressTest, DoesNotSurviveTheWayThereAndBack) {
   for (std::string const text : {"10.0.0.1", "2001:db8::1"}) {
      velm::ip_addr_t const address(text);
      EXPECT_EQ(ipAddressToIpAddr(ipAddrToIpAddress(address)), address) << text;
   }
   EXPECT_EQ(ipAddrToIpAddress(velm::ip_addr_t("10.0.0.1")).addr().size(), 4U);
   EXPECT_EQ(ipAddressToIpAddr({}), velm::ip_addr_t());
   EXPECT_EQ(ipAddrToIpAddress(velm::ip_addr_t(static_cast<velm::af_t>(9), nullptr)).addr(), "");
   EXPECT_EQ(ipGenAddrToIpAddress(Brel::IpGenAddr(std::string_view("\x0a\0\0\1", 4))).addr(),
             std::string_view("\x0a\0\0\1", 4));
}

TEST(WirePrefixTest, LengthIsNotCutToEightBits) {
   pb::ip_prefix_msg prefix;
   prefix.set_addr("\x0a\x01\x02\x03");
   prefix.set_prefix_length(256 + 24);
   EXPECT_EQ(ipPrefixToPrefix(prefix), velm::ip_prefix_t("10.1.2.0/24"));
   prefix.clear_addr();
   EXPECT_EQ(ipPrefixToPrefix(prefix), velm::ip_prefix_t());
}

TEST(ConvertKeyTest, LosesTheOrderOfLabelsOrAField) {
   velm::sbfd_echo_session_key_t const key(velm::ip_addr_t("10.0.0.1"), velm::intf_id_t("Ethernet3/1"),
                                           {velm::mpls_label_t(300), velm::mpls_label_t(100)}, 255, 7);
   pb::sbfd_echo_session_key_msg message;
   convertKey(key, &message);
   EXPECT_EQ(message.outgoing_interface(), "Ethernet3/1");
   EXPECT_EQ(ipAddressToIpAddr(message.nexthop()), key.nexthop());
   EXPECT_THAT(message.labels(), ElementsAre(300, 100));
   EXPECT_EQ(message.dscp(), 255U);
   EXPECT_EQ(message.mpls_exp(), 7U);
}

TEST(NativeValueDeathTest, ForbiddenByTheSchemaYetSurvived) {
   EXPECT_DEATH(ipAddressToIpAddr(wire("12345")), "assertion failed: false");
   EXPECT_DEATH(pb::toString(wire("123")), "assertion failed: false");
   pb::ip_prefix_msg prefix;
   prefix.set_addr("12345");
   EXPECT_DEATH(ipPrefixToPrefix(prefix), "assertion failed: false");
   EXPECT_DEATH(ipAddrToIpAddress(velm::ip_addr_t()), "assertion failed: false");
   EXPECT_DEATH(mplsOpToMplsAction(operation(6)), "assertion failed: false");
   EXPECT_DEATH(mplsOpToMplsAction(operation(-1)), "assertion failed: false");
}

}  // namespace
}  // namespace VelmSdkRpc
