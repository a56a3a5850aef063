#include <gmock/gmock.h>

#include "platform/linux/netlink/Adoption.h"
#include "platform/velm/errors.h"

namespace velm::netlink {
namespace {

std::string adopted(Adoption const& adoption, char const* device) { return adoption.intf(device).to_string(); }

TEST(AdoptionTest, ADeviceIsTheInterfaceOfItsNameOrTheOneItWasGivenTo) {
   Adoption const byName;
   for (auto const* const name : {"Ethernet1", "Ethernet32", "Vlan10", "Loopback0", "Port-Channel999"}) {
      EXPECT_EQ(adopted(byName, name), name);
      EXPECT_EQ(byName.device(intf_id_t(name)), name);
   }
   EXPECT_EQ(adopted(byName, "Ethernet3_1"), "Ethernet3/1");
   EXPECT_EQ(byName.device(intf_id_t("Ethernet3/1")), "Ethernet3_1");
   for (auto const* const name : {"lo", "eth0", "ethernet1", "Ethernet", "Ethernet01", "Ethernet1_", "Ethernet1.5",
                                  "Ethernet1_2_3", "Ethernet-1", "", "vlan10"}) {
      EXPECT_EQ(adopted(byName, name), "") << name;
   }
   EXPECT_EQ(byName.device(intf_id_t("Port-Channel1000")), "");  // longer than a device's name
   EXPECT_EQ(byName.device({}), "");
}

TEST(AdoptionTest, WhatWasGivenOverridesNames) {
   Adoption const given({{intf_id_t("Ethernet1"), "eth0"}, {intf_id_t("Port-Channel1000"), "Ethernet2"}});
   EXPECT_EQ(adopted(given, "eth0"), "Ethernet1");
   EXPECT_EQ(adopted(given, "Ethernet1"), "");
   EXPECT_EQ(adopted(given, "Ethernet2"), "Port-Channel1000");
   EXPECT_EQ(adopted(given, "Ethernet3"), "Ethernet3");
   EXPECT_EQ(given.device(intf_id_t("Ethernet1")), "eth0");
   EXPECT_EQ(given.device(intf_id_t("Ethernet2")), "");
   EXPECT_EQ(given.device(intf_id_t("Port-Channel1000")), "Ethernet2");
}

TEST(AdoptionTest, ADeviceIsGivenOnceAndHasAName) {
   EXPECT_THROW(Adoption({{intf_id_t("Ethernet1"), "eth0"}, {intf_id_t("Ethernet2"), "eth0"}}), configuration_error);
   for (auto const* const name : {"", ".", "..", "a/b", "a b", "a:1", "sixteen-letters!"}) {
      EXPECT_THROW(Adoption({{intf_id_t("Ethernet1"), name}}), invalid_argument_error) << name;
   }
}

}  // namespace
}  // namespace velm::netlink
