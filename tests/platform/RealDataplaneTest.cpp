// A switch whose dataplane is a machine: what it reports is the truth, what it refuses does not happen, and nobody
// plays its part.
#include <gmock/gmock.h>

#include <map>

#include "platform/switch/SetAttribute.h"
#include "platform/velm/sdk_lock_gate.h"
#include "tests/platform/IntfSwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Can route into the VRF red alone, counts, and knows Ethernet1 by another name.
class Machine : public Dataplane, private Carrier<ip_route_key_t, IpRoute> {
 public:
   explicit Machine(DataplaneSurroundings const& around) : around(around) {}

   Carrier<ip_route_key_t, IpRoute>* routes(std::string const& vrf) override { return vrf == "red" ? nullptr : this; }
   std::optional<IntfTraffic> traffic(intf_id_t) override {
      IntfTraffic traffic;
      setAttribute(traffic.counters, "in_octets", 7);
      return traffic;
   }
   std::optional<nexthop_group_entry_counter_t> counter(std::string const&, unsigned short entry) override {
      return nexthop_group_entry_counter_t(entry, 100);
   }
   std::string kernelName(intf_id_t) const override { return "enp3s0"; }
   intf_id_t intfOfKernelName(std::string const&) const override { return intf_id_t("Ethernet1"); }
   void deviceIs(intf_id_t intf, std::string const& device) override { said.push_back(intf.to_string() + device); }
   void vrfIs(intf_id_t intf, std::string const& vrf) override { said.push_back(intf.to_string() + vrf); }
   std::string describe() const override { return R"({"dataplane":"machine"})"; }

   DataplaneSurroundings const around;
   std::vector<std::string> said;

 private:
   Room prepare(ip_route_key_t const&, IpRoute const*, IpRoute const& next) override {
      if (next.vias.group() != nullptr) throw unsupported_error("no groups here");
      return {};
   }
   void carryOut(ip_route_key_t const&, IpRoute const*, Room) noexcept override {}
};

class RealDataplaneTest : public ::testing::Test {
 protected:
   RealDataplaneTest() { recorder.watchAll(true); }

   std::string refusal(std::string const& command) { return device.vapi.run_config_cmds({command}).error_message(); }
   std::string shown(std::string const& command) { return device.vapi.run_show_cmd(command).raw_response(); }
   std::vector<std::string> events() {
      device.loop.post([&] { device.loop.post([&] { device.loop.stop(); }); });
      device.loop.run([] {});
      return std::exchange(recorder.seen, {});
   }

   sdk_scoped_lock const lock;
   Switch device{[](DataplaneSurroundings const& around) { return std::make_unique<Machine>(around); }};
   Machine& machine = static_cast<Machine&>(*device.dataplane);
   IntfRecorder recorder{device};
   intf_id_t const eth1{"Ethernet1"};
};

TEST_F(RealDataplaneTest, InterfacesAreThoseThatTheMachineReports) {
   EXPECT_EQ(shown("show interfaces"), R"([{"interfaces":{}}])");
   machine.around.ports.portIs(eth1, {.adminEnabled = true, .link = oper_status_t::up, .description = "uplink"});
   machine.around.addresses.addressesAre(eth1, {ip_addr_mask_t("192.0.2.1/24")});
   machine.around.addresses.addressesAre(intf_id_t("Ethernet2"), {ip_addr_mask_t("192.0.2.2/24")});
   EXPECT_THAT(events(), ElementsAre("Ethernet1 created", "Ethernet1 oper 1", "Ethernet1 +192.0.2.1/24"));
   Intf const down{.adminEnabled = false, .link = oper_status_t::down, .description = ""};
   machine.around.ports.portIs(eth1, down);
   machine.around.ports.portIs(eth1, down);
   machine.around.addresses.addressesAre(eth1, {ip_addr_mask_t("2001:db8::1/64")});
   EXPECT_THAT(events(), ElementsAre("Ethernet1 disabled", "Ethernet1 oper 2", "Ethernet1 is ",
                                     "Ethernet1 -192.0.2.1/24", "Ethernet1 +2001:db8::1/64"));
   EXPECT_EQ(device.intfs.kernel_intf_name(eth1) + device.intfs.velm_intf_name("enp3s0").to_string(),
             "enp3s0Ethernet1");
   machine.around.ports.portGone(eth1);
   machine.around.ports.portGone(eth1);
   EXPECT_THAT(events(), ElementsAre("Ethernet1 -2001:db8::1/64", "Ethernet1 deleted"));
   EXPECT_EQ(shown("show interfaces"), R"([{"interfaces":{}}])");
}

TEST_F(RealDataplaneTest, WhatItRefusesHasNotHappened) {
   ip_route_key_t const key(ip_prefix_t("10.0.0.0/8"));
   ip_route_via_t via(key);
   via.nexthop_group_is("g");
   for (std::string const vrf : {"", "red"}) device.ipRoutes.ip_route_set(ip_route_t(key), vrf);
   EXPECT_THROW(device.ipRoutes.ip_route_via_set(via), unsupported_error);
   EXPECT_FALSE(device.ipRoutes.exists(via));
   device.ipRoutes.ip_route_via_set(via, "red");
   EXPECT_TRUE(device.ipRoutes.exists(via, "red"));
}

TEST_F(RealDataplaneTest, ItsPartIsNotPlayed) {
   machine.around.ports.portIs(eth1, {});
   std::map<std::string, std::string> const refused{
      {"simulate interface Ethernet1 oper down", "interface Ethernet1 is real: change the machine's link"},
      {"simulate interface Ethernet2 create", "interface Ethernet2 is real"},
      {"simulate interface Ethernet1 counter in_octets 5", "interface Ethernet1 is real"},
      {"simulate nexthop-group g active true", "nexthop group g is real"},
      {"simulate nexthop-group g programmed 1", "nexthop group g is real"},
      {"simulate nexthop-group g counter 0 1 1", "nexthop group g is real"},
      {"simulate sbfd auto off", "sBFD is real"},
      {"simulate sbfd Ethernet1 10.0.0.1 labels - dscp 0 exp 0 status 3", "sBFD is real"},
      {"simulate sbfd Ethernet1 10.0.0.1 labels - dscp 0 exp 0 rtt 1 1 1 1 1 1 1", "sBFD is real"},
      {"simulate policy-map p feature 3 sync", "policy map p is real"},
      {"simulate policy-map p feature 3 sync-fail no", "policy map p is real"},
      {"simulate policy-map p feature 3 hw-status Ethernet1 in 1", "policy map p is real"}};
   for (auto const& [command, why] : refused) EXPECT_THAT(refusal(command), HasSubstr(why));
   EXPECT_EQ(device.intfs.operStatus(eth1), oper_status_t::up);
   nexthop_group_t group("g", nexthop_group_encap_t::mpls);
   group.nexthops_is({{5, {}}});
   device.nexthopGroups.nexthop_group_set(group);
   EXPECT_EQ(device.nexthopGroups.counter("g", 5).bytes(), 100U);
   EXPECT_EQ(device.intfCounters.intf_counters(eth1).in_octets(), 7U);
   EXPECT_EQ(shown("show dataplane"), R"([{"dataplane":"machine"}])");
   device.vapi.run_config_cmds({"interface Ethernet1", "device eth0", "vrf red", "no vrf"});
   EXPECT_THAT(machine.said, ElementsAre("Ethernet1eth0", "Ethernet1red", "Ethernet1"));
   Switch simulated(makeSimulatedDataplane);
   EXPECT_THAT(simulated.vapi.run_config_cmds({"interface Ethernet1", "device eth0"}).error_message(),
               HasSubstr("no interface here is real"));
   EXPECT_EQ(simulated.vapi.run_show_cmd("show dataplane").raw_response(), R"([{"dataplane":"simulated"}])");
}

TEST(SdkLockGateTest, AThreadPassesItBeforeItTakesTheLockAndLeavesBeforeItGivesItBack) {
   struct Gate : sdk_lock_gate {
      void pass() noexcept override { held.push_back(sdk_scoped_lock::held()); }
      void leave() noexcept override { held.push_back(sdk_scoped_lock::held()); }
      std::vector<bool> held;
   } gate;
   sdk_lock_gate_is(&gate);
   {
      sdk_scoped_lock const outer;
      sdk_scoped_lock const inner;
   }
   sdk_lock_gate_is(nullptr);
   sdk_scoped_lock const after;
   EXPECT_THAT(gate.held, ElementsAre(false, true));
}

}  // namespace
}  // namespace velm::embedded
