#include "platform/linux/netlink/LinkRequests.h"
#include "platform/linux/netlink/LinkSpeeds.h"
#include "platform/velm/errors.h"
#include "tests/linux/MachineTest.h"

namespace velm::netlink {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

class LinkTest : public MachineTest {
 protected:
   Link link(std::string const& name) const {
      Link const* const found = machine->links().find(index(name));
      return found == nullptr ? Link() : *found;
   }
};

TEST_F(LinkTest, TheFirstReadTellsAllThatThereIsLinksFirst) {
   device->ip(
      "link set Ethernet1 mtu 1400 address 02:00:00:00:00:01 alias uplink\n"
      "link set Ethernet1 up\n"
      "addr add 10.0.0.1/24 dev Ethernet1\n"
      "addr add 2001:db8::1/64 dev Ethernet1 nodad\n"
      "neigh add 10.0.0.2 dev Ethernet1 lladdr 02:00:00:00:00:02\n"
      "neigh add 2001:db8::2 dev Ethernet1 lladdr 02:00:00:00:00:02\n"
      "link add Ethernet2 index 12 type ifb");
   observe();
   EXPECT_THAT(news(), ElementsAre("+lo", "+Ethernet1", "+Ethernet2", "Ethernet1 +10.0.0.1/24",
                                   "Ethernet1 +2001:db8::1/64", "Ethernet1 + 10.0.0.2 at 02:00:00:00:00:02 permanent",
                                   "Ethernet1 + 2001:db8::2 at 02:00:00:00:00:02 permanent"));
   EXPECT_THAT(news(), IsEmpty());
   auto const uplink = link("Ethernet1");
   EXPECT_EQ(uplink.kind, "veth");
   EXPECT_TRUE(uplink.adminUp);
   EXPECT_FALSE(uplink.carrier);
   EXPECT_FALSE(uplink.operational);
   EXPECT_EQ(uplink.mtu, 1400U);
   EXPECT_EQ(uplink.mac.to_string(), "02:00:00:00:00:01");
   EXPECT_EQ(uplink.alias, "uplink");
   EXPECT_EQ(uplink.parent, 0);
   EXPECT_EQ(link("lo").mac.to_string(), "");
}

TEST_F(LinkTest, ChangesAreToldOneByOneAndRepetitionsNever) {
   observe();
   news();
   device->ip(
      "link set Ethernet1 mtu 1300\nlink set Ethernet1 mtu 1300\n"
      "link set Ethernet1 address 02:00:00:00:00:09\n"
      "link set Ethernet1 up\nlink set Ethernet1 alias one");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 mtu 1300", "Ethernet1 mac 02:00:00:00:00:09", "Ethernet1 up",
                                   "Ethernet1 alias one"));
   hosts->ip("link set h1 up");
   await("Ethernet1 carrier");
   await("Ethernet1 operational");
   hosts->ip("link set h1 down");
   await("Ethernet1 no carrier");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 not operational"));
   device->ip("link set Ethernet1 down");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 down"));
}

TEST_F(LinkTest, AnotherNameAndAnotherLinkOfThatNameAreGoneAndComeWithWhatHangsOnThem) {
   observe();
   device->ip("addr add 10.0.0.1/24 dev Ethernet1\nneigh add 10.0.0.2 dev Ethernet1 lladdr 02:00:00:00:00:02");
   news();
   device->ip("link set Ethernet1 name Ethernet7");
   EXPECT_THAT(news(), ElementsAre("-Ethernet1", "+Ethernet7"));
   EXPECT_EQ(machine->addresses().of(11).size(), 1U);
   EXPECT_EQ(machine->neighbours().of(11).size(), 1U);
   EXPECT_THAT(machine->neighbours().of(12), IsEmpty());
   // Two names change hands while notices are not read.
   device->ip(
      "link add Ethernet1 type ifb\nlink set Ethernet7 name x\nlink set Ethernet1 name Ethernet7\n"
      "link set x name Ethernet1\n");
   EXPECT_THAT(news(), ElementsAre("+Ethernet1", "-Ethernet7", "+x", "-Ethernet1", "+Ethernet7", "-x", "+Ethernet1"));
   device->ip("link del Ethernet1\nlink add Ethernet1 index 40 type ifb");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 -10.0.0.1/24", "Ethernet1 - 10.0.0.2", "-Ethernet1", "+Ethernet1"));
   EXPECT_EQ(index("Ethernet1"), 40);
   EXPECT_THAT(machine->addresses().of(11), IsEmpty());
   device->ip("link set Ethernet7 netns " + hosts->path());
   EXPECT_THAT(news(), ElementsAre("-Ethernet7"));
}

TEST_F(LinkTest, WhatABridgeTellsOfItsPortIsNotTheLinksEnd) {
   if (!device->tryIp("link add b0 type bridge")) GTEST_SKIP() << "the kernel has no bridges";
   observe();
   news();
   device->ip("link set Ethernet1 master b0");
   EXPECT_THAT(news(), ::testing::Contains("Ethernet1 in b0"));
   EXPECT_EQ(link("Ethernet1").master, index("b0"));
   device->ip("link set Ethernet1 nomaster");
   EXPECT_THAT(news(), ::testing::Contains("Ethernet1 free"));
   EXPECT_EQ(link("Ethernet1").name, "Ethernet1");
}

TEST_F(LinkTest, VlansAndVrfsAreToldWithTheirNumbers) {
   if (!device->tryIp("link add link Ethernet1 name Vlan10 type vlan id 10\nlink add red type vrf table 1001\n"
                      "link set Vlan10 master red\nlink add Loopback0 type dummy")) {
      GTEST_SKIP() << "the kernel has no VLANs, VRFs or dummies";
   }
   observe();
   EXPECT_EQ(link("Vlan10").kind, "vlan");
   EXPECT_EQ(link("Vlan10").vlan, 10);
   EXPECT_EQ(link("Vlan10").parent, index("Ethernet1"));
   EXPECT_EQ(link("Vlan10").master, index("red"));
   EXPECT_EQ(link("red").kind, "vrf");
   EXPECT_EQ(link("red").vrfTable, 1001U);
   EXPECT_EQ(link("Loopback0").kind, "dummy");
}

TEST_F(LinkTest, RequestsChangeTheLinkAndTheirNoticesLieReady) {
   observe();
   LinkRequests links(*machine);
   news();
   links.aliasIs(11, "to the \"north\"");  // told though the kernel has no notice of it: the link is down
   links.adminUpIs(11, true);
   links.adminUpIs(11, true);
   links.aliasIs(11, std::string(255, 'x'));
   links.aliasIs(11, "");
   links.aliasIs(11, "");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 alias to the \"north\"", "Ethernet1 up",
                                   "Ethernet1 alias " + std::string(255, 'x'), "Ethernet1 alias "));
   EXPECT_THROW(links.aliasIs(11, std::string(256, 'x')), invalid_range_error);
   EXPECT_THROW(links.aliasIs(11, std::string("a\0b", 3)), invalid_argument_error);
   EXPECT_THAT([&] { links.adminUpIs(99, true); },
               ThrowsMessage<configuration_error>(StartsWith("link 99 cannot be set up: No such device (ENODEV)")));
   EXPECT_THROW(links.aliasIs(99, "x"), configuration_error);
   links.adminUpIs(11, false);
   EXPECT_THAT(news(), ElementsAre("Ethernet1 down"));
}

TEST_F(LinkTest, CountersAndSpeedAreReadWhenAskedFor) {
   device->ip(
      "addr add 10.0.0.1/24 dev Ethernet1\nneigh add 10.0.0.2 dev Ethernet1 lladdr 02:00:00:00:00:02\n"
      "link set Ethernet1 up");
   hosts->ip("link set h1 up");
   observe();
   LinkRequests const links(*machine);
   await([&] { return link("Ethernet1").operational; }, "Ethernet1 operational");
   auto const before = links.counters(11);
   device->datagram("10.0.0.2");
   auto const after = links.counters(11);
   EXPECT_GE(after.outPackets, before.outPackets + 1);
   EXPECT_GE(after.outOctets, before.outOctets + 43);
   EXPECT_EQ(after.outErrors, 0U);
   EXPECT_EQ(links.counters(99).outPackets, 0U);

   Namespace::Inside const inside(*device);
   LinkSpeeds speeds;
   EXPECT_EQ(speeds.speed(11), 10'000'000'000U);
   EXPECT_EQ(speeds.speed(1), 0U);
   EXPECT_EQ(speeds.speed(99), 0U);
}

}  // namespace
}  // namespace velm::netlink
