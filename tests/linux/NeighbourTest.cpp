#include "platform/linux/netlink/NeighbourRequests.h"
#include "platform/velm/errors.h"
#include "tests/linux/MachineTest.h"

namespace velm::netlink {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

/// Ethernet1 has 10.0.0.1 and 2001:db8::1, the host h1 behind it 10.0.0.2 and 2001:db8::2 at 02:00:00:00:00:02.
class NeighbourTest : public MachineTest {
 protected:
   void SetUp() override {
      MachineTest::SetUp();
      if (device == nullptr) return;
      for (std::string const family : {"ipv4", "ipv6"})
         device->sysctl(family + "/neigh/Ethernet1/retrans_time_ms", "50");
      device->sysctl("ipv6/conf/Ethernet1/addr_gen_mode", "0");  // what the kernel asks for neighbours from
      device->sysctl("ipv6/conf/Ethernet1/dad_transmits", "0");
      hosts->sysctl("ipv4/conf/h1/arp_notify", "1");
      hosts->sysctl("ipv6/conf/h1/ndisc_notify", "1");
      device->ip(
         "link set Ethernet1 up\naddr add 10.0.0.1/24 dev Ethernet1\naddr add 2001:db8::1/64 dev Ethernet1 nodad");
      hosts->ip(
         "link set h1 address 02:00:00:00:00:02\nlink set h1 up\naddr add 10.0.0.2/24 dev h1\n"
         "addr add 2001:db8::2/64 dev h1 nodad");
      observe();
      await([&] { return machine->links().find(11)->operational; }, "Ethernet1 operational");
      await([&] { return machine->addresses().of(11).size() == 3; }, "the link-local address");
      neighbours = std::make_unique<NeighbourRequests>(*machine);
      news();
   }
   void install(std::string const& address) { neighbours->install(11, ip_addr_t(address)); }
   void remove(std::string const& address) { neighbours->remove(11, ip_addr_t(address)); }

   std::unique_ptr<NeighbourRequests> neighbours;
};

TEST_F(NeighbourTest, ManagedOnesAreResolvedAndTheirMacIsFollowed) {
   for (std::string const host : {"10.0.0.2", "2001:db8::2"}) {
      install(host);
      await("Ethernet1 + " + host + " at 02:00:00:00:00:02 managed");
      install(host);
      hosts->ip("link set h1 address 02:00:00:00:00:03");
      await("Ethernet1 " + host + " at 02:00:00:00:00:03 managed");
      remove(host);
      remove(host);
      EXPECT_THAT(news(), Contains("Ethernet1 - " + host));
      hosts->ip("link set h1 address 02:00:00:00:00:02");
   }
}

TEST_F(NeighbourTest, TheCarrierTakesManagedOnesAlongAndTheOwnerInstallsThemAnew) {
   install("10.0.0.2");
   install("2001:db8::2");
   await("Ethernet1 + 10.0.0.2 at 02:00:00:00:00:02 managed");
   await("Ethernet1 + 2001:db8::2 at 02:00:00:00:00:02 managed");
   hosts->ip("link set h1 down");
   await("Ethernet1 - 10.0.0.2");
   await("Ethernet1 - 2001:db8::2");
   await("Ethernet1 not operational");
   hosts->ip("addr replace 2001:db8::2/64 dev h1 nodad\nlink set h1 up");
   await("Ethernet1 operational");
   install("10.0.0.2");
   install("2001:db8::2");
   await("Ethernet1 + 10.0.0.2 at 02:00:00:00:00:02 managed");
   await("Ethernet1 + 2001:db8::2 at 02:00:00:00:00:02 managed");
}

TEST_F(NeighbourTest, OneThatDoesNotAnswerIsUnresolvedUntilItDoesAndAgainLater) {
   for (std::string const family : {"ipv4", "ipv6"}) {
      device->sysctl(family + "/neigh/Ethernet1/base_reachable_time_ms", "50");
      device->sysctl(family + "/neigh/Ethernet1/delay_first_probe_time", "0");
   }
   for (std::string const family : {"10.0.0.", "2001:db8::"}) {
      auto const host = family + "5";
      install(host);
      await("Ethernet1 + " + host + " unresolved managed");
      std::string const length = family == "10.0.0." ? "/24" : "/64";
      hosts->ip("addr del " + family + "2" + length + " dev h1\naddr add " + host + length + " dev h1" +
                (length == "/64" ? " nodad" : ""));
      hosts->datagram(family + "1");  // asks us, and so answers
      await("Ethernet1 " + host + " at 02:00:00:00:00:02 managed");
      hosts->ip("addr del " + host + length + " dev h1");
      device->datagram(host);
      await("Ethernet1 " + host + " unresolved managed");
   }
}

TEST_F(NeighbourTest, WhatTheKernelResolvesByItselfIsToldToo) {
   device->datagram("10.0.0.2");
   await("Ethernet1 + 10.0.0.2 at 02:00:00:00:00:02");
   device->datagram("2001:db8::2");
   await("Ethernet1 + 2001:db8::2 at 02:00:00:00:00:02");
   // Groups are no hosts, nor is what the device answers for.
   device->ip("route add 224.0.0.0/4 dev Ethernet1\nneigh add proxy 10.0.0.3 dev Ethernet1");
   device->datagram("224.0.0.9");
   EXPECT_THAT(newsOf("Ethernet1 + "), IsEmpty());
   recorder = Recorder();
   observe();
   EXPECT_THAT(newsOf("Ethernet1 + "), ElementsAre("Ethernet1 + 10.0.0.2 at 02:00:00:00:00:02",
                                                   "Ethernet1 + 2001:db8::2 at 02:00:00:00:00:02"));
}

TEST_F(NeighbourTest, WhatWasSetByHandIsLeftAlone) {
   device->ip("neigh add 10.0.0.9 dev Ethernet1 lladdr 02:00:00:00:00:09");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 + 10.0.0.9 at 02:00:00:00:00:09 permanent"));
   install("10.0.0.9");
   remove("10.0.0.9");
   EXPECT_THAT(news(), IsEmpty());
   device->ip("neigh del 10.0.0.9 dev Ethernet1");
   EXPECT_THAT(news(), Contains("Ethernet1 - 10.0.0.9"));
}

TEST_F(NeighbourTest, AnUnknownLinkIsRefusedAndHasNothingToForget) {
   EXPECT_THAT([&] { neighbours->install(99, ip_addr_t("10.0.0.2")); },
               ThrowsMessage<configuration_error>(
                  StartsWith("link 99 cannot follow the neighbour 10.0.0.2: No such device (ENODEV)")));
   neighbours->remove(99, ip_addr_t("10.0.0.2"));
}

}  // namespace
}  // namespace velm::netlink
