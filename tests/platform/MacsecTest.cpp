#include "tests/platform/IntfSwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MacsecTest : public IntfSwitchTest {
 protected:
   MacsecMgr& mgr() { return device.macsec; }
   static macsec_profile_t profile(std::string const& name) {
      macsec_key_t key;
      key.cak_is("0123secret");
      key.ckn_is("abcd");
      key.encoded_is(true);
      macsec_profile_t profile;
      profile.name_is(name);
      profile.primary_key_is(key);
      profile.fallback_key_is(key);
      return profile;
   }
   auto statuses() { return walked(mgr().macsec_intf_status_iter(), std::mem_fn(&intf_id_t::to_string)); }
};

TEST_F(MacsecTest, AProfileKnowsItsInterfacesAndTakesThemAlong) {
   auto set = profile("p");
   set.intfs_is({eth(7)});  // not for the setter to say
   mgr().profile_set(set);
   mgr().profile_set(profile("q"));
   world({"interface Ethernet2", "mac security profile p", "interface Ethernet1", "mac security profile p",
          "interface Ethernet3", "mac security profile q"});
   EXPECT_THAT(mgr().profile("p").intfs(), ElementsAre(eth(1), eth(2)));
   EXPECT_EQ(mgr().profile("p").fallback_key().cak(), "0123secret");
   EXPECT_THAT(statuses(), ElementsAre("Ethernet1", "Ethernet2", "Ethernet3"));
   set.mka_life_time_is(9);
   mgr().profile_set(set);  // in use, and replaced
   EXPECT_EQ(mgr().profile("p").mka_life_time(), 9);
   EXPECT_THAT(mgr().profile("p").intfs(), ElementsAre(eth(1), eth(2)));
   world({"simulate macsec Ethernet1 key-status 2 traffic-status 1"});
   events();
   mgr().profile_del("p");
   mgr().profile_del("p");
   EXPECT_THAT(events(), ElementsAre("Ethernet1 macsec 0 0"));
   EXPECT_THAT(statuses(), ElementsAre("Ethernet3"));
   EXPECT_EQ(mgr().intf_profile(eth(1)), "");
   world({"interface Ethernet3", "no mac security profile", "no mac security profile"});
   EXPECT_THAT(statuses(), IsEmpty());
   EXPECT_TRUE(mgr().exists("q"));
}

TEST_F(MacsecTest, AStatusIsReportedWhenItChanges) {
   mgr().profile_set(profile("p"));
   mgr().intf_profile_is(eth(1), "p");
   EXPECT_THAT(events(), IsEmpty());
   EXPECT_THAT(eventsOf({"simulate macsec Ethernet1 key-status 5 traffic-status 2",
                         "simulate macsec Ethernet1 key-status 5 traffic-status 2",
                         "simulate macsec Ethernet1 key-status 2 traffic-status 1"}),
               ElementsAre("Ethernet1 macsec 5 2", "Ethernet1 macsec 2 1"));
   mgr().profile_set(profile("q"));
   mgr().intf_profile_is(eth(1), "q");  // the hardware says when it has the other key
   EXPECT_EQ(static_cast<int>(mgr().intf_status(eth(1)).key_status()), 2);
   EXPECT_THAT(events(), IsEmpty());
}

TEST_F(MacsecTest, OnlyCapablePortsUseProfiles) {
   mgr().profile_set(profile("p"));
   EXPECT_THROW(mgr().intf_profile_is(eth(1), "nope"), configuration_error);
   EXPECT_THROW(mgr().intf_profile_is(eth(99), "p"), configuration_error);
   EXPECT_THROW(mgr().intf_profile_is(intf_id_t("Management1"), "p"), configuration_error);
   EXPECT_THROW(mgr().profile_set(macsec_profile_t()), invalid_argument_error);
   EXPECT_THROW(mgr().profile("nope"), invalid_argument_error);
   EXPECT_FALSE(mgr().macsec_capable(eth(99)));
   mgr().intf_profile_is(eth(1), "p");
   world({"simulate macsec Ethernet1 capable false"});
   EXPECT_FALSE(mgr().macsec_capable(eth(1)));
   EXPECT_THAT(statuses(), IsEmpty());
   EXPECT_THROW(mgr().intf_profile_is(eth(1), "p"), configuration_error);
   EXPECT_NO_THROW(mgr().intf_profile_is(eth(1), ""));
   world({"simulate macsec Ethernet1 capable true", "simulate macsec Management1 capable true"});
   EXPECT_NO_THROW(mgr().intf_profile_is(eth(1), "p"));
   EXPECT_NO_THROW(mgr().intf_profile_is(intf_id_t("Management1"), "p"));
}

}  // namespace
}  // namespace velm::embedded
