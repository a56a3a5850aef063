#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

mpls_route_key_t keyOf(std::uint32_t label, unsigned char metric = 0) { return {mpls_label_t(label), metric}; }

mpls_route_via_t viaOf(std::uint32_t label, std::string const& group) {
   mpls_route_via_t via(keyOf(label), mpls_action_t::forward);
   via.nexthop_group_is(group);
   return via;
}

struct Recorder : mpls_route_handler {
   explicit Recorder(mpls_route_mgr& mgr, bool watching = true) : mpls_route_handler(&mgr) {
      watch_all_mpls_routes(watching);
   }
   void on_mpls_route_set(mpls_route_key_t const& key, mpls_fec_id_t fec) override {
      note(key.to_string(), "set", fec);
   }
   void on_mpls_route_del(mpls_route_key_t const& key) override { note(key.to_string(), "del", {}); }
   void on_mpls_fec_set(mpls_fec_id_t fec) override { note("fec", "set", fec); }
   void on_mpls_fec_del(mpls_fec_id_t fec) override { note("fec", "del", fec); }

   void note(std::string const& what, std::string const& how, mpls_fec_id_t fec) {
      seen.push_back(what + ' ' + how + ' ' + std::to_string(fec.id()));
   }
   std::vector<std::string> seen;
};

class MplsTest : public SwitchTest {
 protected:
   MplsRouteMgr& mgr() { return device.mplsRoutes; }
   void set(std::uint32_t label) { mgr().mpls_route_set(mpls_route_t(keyOf(label))); }
   static auto groupsOf(mpls_route_via_status_iter_t const& it) {
      return walked(it, std::mem_fn(&mpls_route_via_t::nexthop_group));
   }
};

TEST_F(MplsTest, ViasAreToldByAllTheirAttributes) {
   auto const key = keyOf(100);
   mpls_route_via_t push(key, mpls_action_t::push);
   EXPECT_THROW(mgr().mpls_route_via_set(push), configuration_error);
   set(100);
   mgr().mpls_route_via_set(push);
   mgr().mpls_route_via_set(push);
   mpls_route_via_t other = push;
   other.pushswap_label_is(mpls_label_t(7));
   EXPECT_FALSE(mgr().exists(other));
   mgr().mpls_route_via_set(other);
   int vias = 0;
   for (auto it = mgr().mpls_route_via_iter(key); it; ++it) {
      ++vias;
      mgr().mpls_route_via_del(other);  // gone before the walk reaches it
   }
   EXPECT_EQ(vias, 1);
   mgr().resync_init();
   set(100);
   mgr().resync_complete();
   EXPECT_TRUE(mgr().exists(key));
   EXPECT_FALSE(mgr().exists(push));
}

TEST_F(MplsTest, AFecIsItsRoutesAloneAndFindsIt) {
   EXPECT_EQ(mgr().fec_id(keyOf(1)), mpls_fec_id_t(0));
   EXPECT_EQ(mgr().metric(keyOf(1, 7)), 0);
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(mpls_fec_id_t(0))), IsEmpty());
   for (std::uint32_t label = 1; label <= 3; ++label) {
      set(label);
      mgr().mpls_route_via_set(viaOf(label, "g" + std::to_string(label)));
   }
   mgr().mpls_route_set(mpls_route_t(keyOf(1, 7)));  // the metric makes another route
   EXPECT_EQ(mgr().metric(keyOf(1, 7)), 7);
   auto const first = mgr().fec_id(keyOf(1));
   auto const second = mgr().fec_id(keyOf(2));
   auto const third = mgr().fec_id(keyOf(3));
   EXPECT_EQ((std::set{first, second, third, mgr().fec_id(keyOf(1, 7)), mpls_fec_id_t(0)}).size(), 5);
   set(2);
   EXPECT_EQ(mgr().fec_id(keyOf(2)), second);
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(second)), ElementsAre("g2"));
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(keyOf(3))), ElementsAre("g3"));

   mgr().mpls_route_del(keyOf(2));
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(second)), IsEmpty());
   set(4);
   EXPECT_GT(mgr().fec_id(keyOf(4)), third);
   EXPECT_THAT(walked(mgr().mpls_route_status_iter(), std::mem_fn(&mpls_route_key_t::to_string)),
               ElementsAre("1 metric 0", "1 metric 7", "3 metric 0", "4 metric 0"));
}

TEST_F(MplsTest, EventsComeInOrderWhereTheHandlerWatchesAtTheDelivery) {
   set(99);  // nobody watches
   Recorder recorder(mgr());
   Recorder idle(mgr(), false);
   set(100);
   set(100);
   mgr().mpls_route_via_set(viaOf(100, "g"));
   mgr().mpls_route_del(keyOf(100));
   mgr().mpls_route_del(keyOf(100));
   world({"simulate mpls fec 77 set", "simulate mpls fec 18446744073709551615 delete"});
   EXPECT_THAT(recorder.seen, IsEmpty());
   deliver();
   EXPECT_THAT(recorder.seen,
               ElementsAre("100 metric 0 set 101", "fec set 101", "100 metric 0 set 101", "fec set 101",
                           "100 metric 0 del 0", "fec del 101", "fec set 77", "fec del 18446744073709551615"));
   EXPECT_THAT(idle.seen, IsEmpty());
   recorder.seen.clear();
   set(101);
   recorder.watch_all_mpls_routes(false);
   deliver();
   EXPECT_THAT(recorder.seen, IsEmpty());
}

TEST_F(MplsTest, AResyncRaisesWhatADeletionDoesForWhatWasNotRepeated) {
   for (std::uint32_t label = 1; label <= 4; ++label) {
      set(label);
      mgr().mpls_route_via_set(viaOf(label, "g"));
   }
   Recorder recorder(mgr());
   mgr().resync_complete();  // without a resync there is nothing to purge
   mgr().resync_init();
   set(2);
   mgr().mpls_route_del(keyOf(3));
   set(3);
   mgr().mpls_route_via_set(viaOf(3, "h"));
   mgr().resync_complete();
   mgr().resync_complete();
   deliver();
   EXPECT_THAT(recorder.seen,
               ElementsAre("2 metric 0 set 3", "fec set 3", "3 metric 0 del 0", "fec del 4", "3 metric 0 set 4",
                           "fec set 4", "1 metric 0 del 0", "fec del 2", "4 metric 0 del 0", "fec del 5"));
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(mpls_fec_id_t(2))), IsEmpty());
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(mpls_fec_id_t(3))), IsEmpty());  // its via was not repeated
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(mpls_fec_id_t(4))), ElementsAre("h"));
}

TEST_F(MplsTest, AnIdFromASequenceIsNotGivenToTheRouteOfItsLabel) {
   restart([&](Switch& before) {
      NamePool names;
      MplsRoute row{mpls_fec_id_t(101), {}};  // as rows were when every route took its FEC's id from one sequence
      row.vias.set(viaOf(300, "g"), names);
      MplsRouteTable table;
      table.bind(*before.store, StoredTable::mplsRoutes, {});
      Inside const inside(before.ledger);
      table.set(inside, MplsRowKey(keyOf(300)), row);
      table.set(inside, MplsRowKey(keyOf(300, 7)), {mpls_fec_id_t(102), {}});
   });
   set(100);
   set(101);
   set(102);
   EXPECT_EQ(
      (std::set{mgr().fec_id(keyOf(100)), mgr().fec_id(keyOf(101)), mpls_fec_id_t(101), mpls_fec_id_t(102)}).size(), 4);
   EXPECT_EQ(mgr().fec_id(keyOf(102)), mpls_fec_id_t(103));
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(mpls_fec_id_t(101))), ElementsAre("g"));
   mgr().mpls_route_del(keyOf(300));
   EXPECT_THAT(groupsOf(mgr().mpls_route_via_status_iter(mpls_fec_id_t(101))), IsEmpty());
   mgr().mpls_route_del(keyOf(100));
   set(100);
   EXPECT_EQ(mgr().fec_id(keyOf(100)), mpls_fec_id_t(101));  // free by now
}

}  // namespace
}  // namespace velm::embedded
