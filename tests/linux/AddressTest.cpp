#include "platform/linux/netlink/AddressRequests.h"
#include "platform/velm/errors.h"
#include "tests/linux/MachineTest.h"

namespace velm::netlink {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;
using ::testing::UnorderedElementsAre;

class AddressTest : public MachineTest {
 protected:
   void begin() {
      observe();
      addresses = std::make_unique<AddressRequests>(*machine);
      news();
   }
   void add(std::string const& address) { addresses->add(11, ip_addr_mask_t(address)); }
   void del(std::string const& address) { addresses->del(11, ip_addr_mask_t(address)); }

   std::unique_ptr<AddressRequests> addresses;
};

TEST_F(AddressTest, BothFamiliesComeAndGoAndRepetitionsAreNoErrors) {
   device->ip("link set Ethernet1 up");
   begin();
   for (auto const* const address : {"10.0.0.1/24", "10.0.0.1/25", "10.1.0.1/32", "2001:db8::1/64", "fe80::1/64"}) {
      add(address);
      add(address);
      EXPECT_THAT(news(), ElementsAre(std::string("Ethernet1 +") + address));
      del(address);
      del(address);
      EXPECT_THAT(news(), ElementsAre(std::string("Ethernet1 -") + address));
   }
}

TEST_F(AddressTest, OneOfANetworkGoesAlone) {
   begin();
   add("10.0.0.1/24");
   add("10.0.0.2/24");
   add("10.0.0.3/24");
   news();
   del("10.0.0.1/24");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 -10.0.0.1/24"));
   EXPECT_EQ(machine->addresses().of(11).size(), 2U);
}

TEST_F(AddressTest, RefusalsNameLinkAddressAndReason) {
   begin();
   add("2001:db8::1/64");
   EXPECT_THAT([&] { add("2001:db8::1/48"); },
               ThrowsMessage<configuration_error>(
                  StartsWith("Ethernet1 cannot take the address 2001:db8::1/48: File exists (EEXIST)")));
   EXPECT_THAT([&] { add("ff02::5/64"); }, ThrowsMessage<configuration_error>(HasSubstr("ff02::5/64")));
   EXPECT_THROW(addresses->add(11, ip_addr_mask_t(ip_addr_t("10.0.0.1"), 33)), invalid_range_error);
   EXPECT_THAT([&] { addresses->add(99, ip_addr_mask_t("10.0.0.1/24")); },
               ThrowsMessage<configuration_error>(
                  StartsWith("link 99 cannot take the address 10.0.0.1/24: No such device (ENODEV)")));
   EXPECT_THROW(addresses->del(99, ip_addr_mask_t("10.0.0.1/24")), configuration_error);
   EXPECT_THROW(addresses->del(99, ip_addr_mask_t("2001:db8::1/64")), configuration_error);
   EXPECT_THAT(news(), ElementsAre("Ethernet1 +2001:db8::1/64"));
}

TEST_F(AddressTest, ALinkThatIsSetDownLosesItsIpv6AddressesUnlessToldToKeepThem) {
   begin();
   device->ip("link set Ethernet1 up");
   add("10.0.0.1/24");
   add("2001:db8::1/64");
   news();
   device->ip("link set Ethernet1 down");
   EXPECT_THAT(news(), UnorderedElementsAre("Ethernet1 down", "Ethernet1 -2001:db8::1/64"));
}

TEST_F(AddressTest, WhatTheKernelMakesIsFlagged) {
   device->sysctl("ipv6/conf/Ethernet1/dad_transmits", "0");
   device->ip("link set Ethernet1 address 02:00:00:00:00:01");
   device->sysctl("ipv6/conf/Ethernet1/addr_gen_mode", "0");
   hosts->ip("link set h1 up");
   begin();
   device->ip("link set Ethernet1 up\nlink set lo up");
   await("Ethernet1 +fe80::ff:fe00:1/64 automatic");
   await("lo +::1/128 automatic");
}

TEST_F(AddressTest, AnAddressIsToldWhenItIsUsableAndADuplicateNever) {
   device->sysctl("ipv6/conf/Ethernet1/router_solicitation_delay", "0");
   device->sysctl("ipv6/neigh/Ethernet1/retrans_time_ms", "50");
   // Asks for a second: until the kernel has seen to its carrier the other end cannot answer.
   device->sysctl("ipv6/conf/Ethernet1/dad_transmits", "20");
   hosts->ip("link set h1 up\naddr add 2001:db8::2/64 dev h1 nodad");
   device->ip("link set Ethernet1 up\naddr add 2001:db8::2/64 dev Ethernet1");
   begin();
   auto const duplicate = [&] {
      for (auto const& state : machine->requests().list<AddressState>(listOfAddresses(11), readAddress)) {
         if (state.address.address == ip_addr_mask_t("2001:db8::2/64")) return state.duplicate;
      }
      return false;
   };
   await(duplicate, "the duplicate");
   EXPECT_THAT(machine->addresses().of(11), IsEmpty());
   device->ip("addr del 2001:db8::2/64 dev Ethernet1");
   hosts->ip("link set h1 down");
   await("Ethernet1 no carrier");
   device->ip("addr add 2001:db8::3/64 dev Ethernet1");  // tentative while there is no carrier
   EXPECT_THAT(newsOf("Ethernet1 +"), IsEmpty());
   EXPECT_THAT(machine->addresses().of(11), IsEmpty());
   hosts->ip("link set h1 up");
   await("Ethernet1 +2001:db8::3/64");
   ASSERT_EQ(machine->addresses().of(11).size(), 1U);
   // One that outlives its link's being down is looked for anew: it stays, unless somebody has taken it.
   device->sysctl("ipv6/conf/Ethernet1/keep_addr_on_down", "1");
   device->ip("link set Ethernet1 down\nlink set Ethernet1 up");
   await("Ethernet1 operational");
   EXPECT_EQ(machine->addresses().of(11).size(), 1U);
   hosts->ip("addr add 2001:db8::3/64 dev h1 nodad");
   device->ip("link set Ethernet1 down\nlink set Ethernet1 up");
   await("Ethernet1 -2001:db8::3/64");
   EXPECT_THAT(newsOf("Ethernet1 +"), IsEmpty());
}

}  // namespace
}  // namespace velm::netlink
