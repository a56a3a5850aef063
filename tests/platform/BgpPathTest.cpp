#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Recorder : bgp_path_handler {
   explicit Recorder(bgp_path_mgr& mgr) : bgp_path_handler(&mgr) { watch_all_paths(true); }
   void on_ipv4_unicast_path(bgp_path_key_t const& key) override { seen.push_back("4 " + key.to_string()); }
   void on_ipv6_unicast_path(bgp_path_key_t const& key) override { seen.push_back("6 " + key.to_string()); }
   void on_ipv4_unicast_bgp_converged(bool converged) override { seen.push_back(converged ? "4 yes" : "4 no"); }
   void on_ipv6_unicast_bgp_converged(bool converged) override { seen.push_back(converged ? "6 yes" : "6 no"); }
   std::vector<std::string> seen;
};

bgp_path_key_t keyOf(std::string const& prefix, std::string const& peer, std::string const& vrf = "red") {
   bgp_path_key_t key;
   key.prefix_is(ip_prefix_t(prefix));
   key.peer_addr_is(ip_addr_t(peer));
   key.vrf_name_is(vrf);
   return key;
}

class BgpPathTest : public SwitchTest {
 protected:
   BgpPathMgr& mgr() { return device.bgpPaths; }
};

constexpr auto path4 = "simulate bgp path 10.0.0.0/8 peer 10.1.1.1 vrf red";
constexpr auto path6 = "simulate bgp path 2001:db8::/32 peer 2001:db8::1 vrf red";

TEST_F(BgpPathTest, EveryRealChangeRaisesOneEventInOrderWhereTheHandlerWatches) {
   Recorder recorder(mgr());
   Recorder idle(mgr());
   idle.watch_all_paths(false);
   std::string const set(path4);
   world({set, set, path6, set + " med 5", set + " med 5", set, "simulate no bgp path 10.0.0.0/8 peer 10.1.1.1 vrf red",
          "simulate no bgp path 10.0.0.0/8 peer 10.1.1.1 vrf red", "simulate bgp converged ipv6 true",
          "simulate bgp converged ipv6 true", "simulate bgp converged ipv6 false", "simulate bgp converged ipv4 false",
          "simulate bgp converged ipv4 true"});
   EXPECT_THAT(recorder.seen, IsEmpty());
   deliver();
   std::string const event4 = "4 10.0.0.0/8 peer 10.1.1.1 vrf red";
   EXPECT_THAT(recorder.seen, ElementsAre(event4, "6 2001:db8::/32 peer 2001:db8::1 vrf red", event4, event4, event4,
                                          "6 yes", "6 no", "4 yes"));
   EXPECT_THAT(idle.seen, IsEmpty());
   EXPECT_TRUE(mgr().ipv4_unicast_bgp_convergence());
   EXPECT_FALSE(mgr().ipv6_unicast_bgp_convergence());
}

TEST_F(BgpPathTest, OneIsReadWholeAndAllAsTheOptionsSay) {
   world({std::string(path4) + " next-hop 10.2.2.2 origin 255 med 4294967295 local-pref 7 community 1,2,1",
          "simulate bgp path 10.0.0.0/8 peer 10.1.1.0 vrf \"\" local-pref 9", path6});
   auto const key = keyOf("10.0.0.0/8", "10.1.1.1");
   auto const path = mgr().ipv4_unicast_path(key);
   EXPECT_EQ(path.path_key(), key);
   EXPECT_EQ(path.path_key().hash(), key.hash());
   auto const& attr = path.path_attr();
   EXPECT_EQ(attr, bgp_path_attr_t(ip_addr_t("10.2.2.2"), 255, 4294967295, 7, {1, 2}));
   EXPECT_EQ(mgr().ipv6_unicast_path(keyOf("2001:db8::/32", "2001:db8::1")).path_attr(), bgp_path_attr_t());

   EXPECT_THROW(mgr().ipv6_unicast_path(key), invalid_argument_error);
   EXPECT_THROW(mgr().ipv4_unicast_path(keyOf("10.0.0.0/8", "10.1.1.1", "blue")), invalid_argument_error);

   for (bool const nextHop : {false, true}) {
      for (bool const communities : {false, true}) {
         bgp_path_attr_fields_t fields;
         fields.next_hop_is(nextHop);
         fields.community_list_is(communities);
         bgp_path_options_t options;
         options.path_attr_fields_is(fields);
         options.receive_route_stage_is(static_cast<bgp_receive_route_stage_t>(77));
         auto it = mgr().ipv4_unicast_path_iter(options);
         ASSERT_TRUE(it);
         EXPECT_EQ(it->path_key(), keyOf("10.0.0.0/8", "10.1.1.0", ""));
         ASSERT_TRUE(++it);
         bgp_path_attr_t const expected(nextHop ? ip_addr_t("10.2.2.2") : ip_addr_t(), 255, 4294967295, 7,
                                        communities ? attr.community_list() : std::unordered_set<std::uint32_t>());
         EXPECT_EQ(*it, bgp_path_t(key, expected)) << nextHop << communities;
         EXPECT_FALSE(++it);
      }
   }
}

}  // namespace
}  // namespace velm::embedded
