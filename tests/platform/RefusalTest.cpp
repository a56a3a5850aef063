// Commands that can be parsed and ask for what cannot be: each is refused by what is wrong with it, and leaves nothing.
#include <map>

#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::HasSubstr;

std::string const acl = "simulate acl c ";
std::string const path = "simulate bgp path 10.0.0.0/8 peer 10.1.1.1 vrf red ";
std::string const group = "simulate nexthop-group g ";
std::string const macsec = "simulate macsec Ethernet1 ";
std::string const policy = "simulate policy-map r feature ";
std::string const session = "simulate sbfd Ethernet1 10.0.0.1 labels 16 ";

std::map<std::string, std::string> const refused{
   {acl + "type 256 rule 1 nexthop-group g priority 1 mask 1", "type 256 is out of range"},
   {acl + "type 1 rule 4294967296 nexthop-group g priority 1 mask 1", "rule 4294967296 is out of range"},
   {acl + "type 1 rule 1 nexthop-group g priority 256 mask 1", "priority 256 is out of range"},
   {acl + "type 1 rule 1 nexthop-group g priority 1 mask 256", "mask 256 is out of range"},
   {"simulate acl \"\" type 1 rule 1 nexthop-group g priority 1 mask 1", "needs a name"},
   {path + "origin 256", "origin 256 is out of range"},
   {path + "med 4294967296", "med 4294967296 is out of range"},
   {path + "local-pref 4294967296", "local-pref 4294967296 is out of range"},
   {path + "community 1,4294967296", "community 4294967296 is out of range"},
   {"simulate bgp path 10.0.0.0/33 peer 10.1.1.1 vrf red", "10.0.0.0/33"},
   {"simulate interface Ethernet1 counter colour 5", "no such counter colour"},
   {"simulate interface Ethernet99 counter in_octets 5", "no such interface Ethernet99"},
   {"simulate interface Ethernet99 oper up", "no such interface Ethernet99"},
   {"simulate ip interface Ethernet1 vlan 65536", "vlan 65536 is out of range"},
   {"simulate ip interface Ethernet99 vlan 1", "no such interface Ethernet99"},
   {"no interface Management1", "Management1 is a port"},
   {"shutdown", "no interface is chosen"},
   {"channel-group 1 mode on", "no interface is chosen"},
   {"simulate port-channel Port-Channel9 speed 1", "no such LAG Port-Channel9"},
   {macsec + "counter in_octets 5", "no such counter in_octets"},
   {macsec + "key-status 3 traffic-status 0", "Ethernet1 uses no Macsec profile"},
   {macsec + "key-status 256 traffic-status 0", "key-status 256 is out of range"},
   {macsec + "key-status 6 traffic-status 0", "key-status 6 is out of range"},
   {macsec + "key-status 0 traffic-status 3", "traffic-status 3 is out of range"},
   {"simulate macsec Ethernet99 capable true", "no such interface Ethernet99"},
   {group + "programmed 65536", "version 65536 is out of range"},
   {group + "counter 65536 0 0", "entry 65536 is out of range"},
   {policy + "256 rule 1 class-map c", "feature 256 is out of range"},
   {policy + "4 rule 1 class-map c", "feature 4 is out of range"},
   {policy + "9 sync", "feature 9 is out of range"},
   {policy + "9 sync-fail text", "feature 9 is out of range"},
   {policy + "1 rule 4294967296 class-map c", "rule 4294967296 is out of range"},
   {"simulate policy-map \"\" feature 1 rule 1 class-map c", "needs a name"},
   {policy + "1 hw-status Ethernet1 256 1", "direction 256 is out of range"},
   {policy + "1 hw-status Ethernet1 3 1", "direction 3 is out of range"},
   {policy + "1 hw-status Ethernet1 1 256", "hw-status 256 is out of range"},
   {policy + "1 hw-status Ethernet1 in 4", "hw-status 4 is out of range"},
   {"simulate class-map r rule 1 acl a type 256", "type 256 is out of range"},
   {"simulate class-map r rule 1 acl a type 0", "type 0 is out of range"},
   {"simulate class-map r rule 1 acl a type 3", "type 3 is out of range"},
   {"simulate class-map \"\" rule 1 acl a type 1", "needs a name"},
   {session + "dscp 256 exp 5 status 1", "dscp 256 is out of range"},
   {session + "dscp 46 exp 256 status 1", "exp 256 is out of range"},
   {session + "dscp 46 exp 5 status 4294967296", "status 4294967296 is out of range"},
   {session + "dscp 46 exp 5 rtt 1 2 3 4 5 6 4294967296", "rtt 4294967296 is out of range"},
   {"simulate sbfd Ethernet1 10.0.0.1 labels 1048576 dscp 46 exp 5 status 1", "1048576"},
   {"simulate sbfd Ethernet1 10.0.0.1 labels 4294967312 dscp 46 exp 5 status 1", "label 4294967312 is out of range"},
   {"simulate fail no.such error text", "no such operation no.such"},
   {"simulate fail acl_mgr.acl_del no_error text", "no such error no_error"},
};

class RefusalTest : public SwitchTest {};

TEST_F(RefusalTest, TellsWhyAndLeavesNothing) {
   auto const before = shownTables(device);
   for (auto const& [command, why] : refused) EXPECT_THAT(refusal(command), HasSubstr(why)) << command;
   deliver();
   EXPECT_EQ(shownTables(device), before);
}

}  // namespace
}  // namespace velm::embedded
