#include <set>

#include "tests/platform/SwitchTest.h"

namespace velm::embedded {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Clock = std::chrono::steady_clock;
using status_t = bfd_session_status_t;

sbfd_echo_session_key_t keyOf(std::string const& intf, std::uint32_t label = 16) {
   return {ip_addr_t("10.0.0.1"), intf_id_t(intf), {mpls_label_t(label)}, 46, 5};
}

struct Recorder : bfd_session_handler, intf_handler {
   Recorder(bfd_session_mgr& sessions, intf_mgr& intfs) : bfd_session_handler(&sessions), intf_handler(&intfs) {
      watch_all_sbfd_echo_sessions(true);
      watch_all_intfs(true);
   }
   void on_sbfd_echo_session_set(sbfd_echo_session_key_t const& key) override { note(key, "set"); }
   void on_sbfd_echo_session_del(sbfd_echo_session_key_t const& key) override { note(key, "del"); }
   void on_sbfd_echo_session_status(sbfd_echo_session_key_t const& key, status_t status) override {
      note(key, std::to_string(static_cast<unsigned>(status)));
      last = Clock::now();
   }
   void on_sbfd_echo_session_rtt(sbfd_echo_session_key_t const& key,
                                 sbfd_echo_session_rtt_stats_t const& stats) override {
      rtts.emplace_back(key, stats);
      last = Clock::now();
   }
   void on_oper_status(intf_id_t intf, oper_status_t status) override {
      seen.push_back(intf.to_string() + (status == oper_status_t::up ? " up" : " down"));
   }

   void note(sbfd_echo_session_key_t const& key, std::string const& what) {
      seen.push_back(key.nexthop_intf().to_string() + ' ' + std::to_string(key.labels().front().label()) + ' ' + what);
   }
   std::vector<std::string> take() { return std::exchange(seen, {}); }

   std::vector<std::string> seen;
   std::vector<std::pair<sbfd_echo_session_key_t, sbfd_echo_session_rtt_stats_t>> rtts;
   Clock::time_point last;
};

class SbfdTest : public SwitchTest {
 protected:
   BfdSessionMgr& mgr() { return device.bfdSessions; }
   void set(sbfd_echo_session_key_t const& key, sbfd_interval_t interval = {20, 1}) {
      sdk_scoped_lock const lock;
      mgr().sbfd_echo_session_set(key);
      mgr().sbfd_echo_session_interval_is(key, interval);
   }
   // A session that is up, whose events are taken.
   void setUp(sbfd_echo_session_key_t const& key, sbfd_interval_t interval = {20, 1}) {
      set(key, interval);
      EXPECT_TRUE(becomes(key, status_t::up));
      recorder.seen.clear();
   }
   bool becomes(sbfd_echo_session_key_t const& key, status_t status) {
      bool const reads = turnUntil([&] { return mgr().sbfd_echo_session_status(key) == status; });
      deliver();
      return reads;
   }
   bool seesEvents(std::size_t count) {
      return turnUntil([&] { return recorder.seen.size() >= count; });
   }

   Recorder recorder{device.bfdSessions, device.intfs};
};

TEST_F(SbfdTest, ASessionIsUpWithItsInterfaceAndDownBehindTheInterfacesEvent) {
   auto const key = keyOf("Ethernet1");
   EXPECT_EQ(mgr().sbfd_echo_session_status(key), status_t::unknown);
   set(key, {40, 2});
   EXPECT_EQ(mgr().sbfd_echo_session_status(key), status_t::unknown);
   ASSERT_TRUE(seesEvents(2));
   EXPECT_THAT(recorder.take(), ElementsAre("Ethernet1 16 set", "Ethernet1 16 3"));

   for (auto const& failure :
        {std::pair("simulate interface Ethernet1 oper down", "simulate interface Ethernet1 oper up"),
         std::pair("shutdown", "no shutdown")}) {
      auto const start = Clock::now();
      world({"interface Ethernet1", failure.first});
      ASSERT_TRUE(seesEvents(2));
      EXPECT_GE(recorder.last - start, 80ms);
      EXPECT_THAT(recorder.take(), ElementsAre("Ethernet1 down", "Ethernet1 16 1"));
      world({"interface Ethernet1", failure.second});
      ASSERT_TRUE(seesEvents(2));
      EXPECT_THAT(recorder.take(), ElementsAre("Ethernet1 up", "Ethernet1 16 3"));
   }
   mgr().sbfd_echo_session_del(key);
   mgr().sbfd_echo_session_del(key);
   EXPECT_EQ(mgr().sbfd_echo_session_status(key), status_t::unknown);
   deliver();
   EXPECT_THAT(recorder.seen, ElementsAre("Ethernet1 16 del"));
}

TEST_F(SbfdTest, AZeroInTheIntervalIsTheDefaultsPart) {
   EXPECT_EQ(mgr().sbfd_echo_session_default_interval(), sbfd_interval_t(300, 3));
   // In the order in which they notice.
   std::vector<std::pair<sbfd_interval_t, std::chrono::milliseconds>> const rows{
      {{1, 1}, 1ms}, {{100, 0}, 300ms}, {{300, 3}, 900ms}, {{0, 3}, 900ms}, {{0, 0}, 900ms}};
   for (std::size_t i = 0; i < rows.size(); ++i) set(keyOf("Ethernet1", i), rows[i].first);
   ASSERT_TRUE(seesEvents(2 * rows.size()));
   recorder.seen.clear();
   auto const start = Clock::now();
   world({"simulate interface Ethernet1 oper down"});
   for (std::size_t i = 0; i < rows.size(); ++i) {
      ASSERT_TRUE(becomes(keyOf("Ethernet1", i), status_t::down)) << i;
      EXPECT_GE(recorder.last - start, rows[i].second) << i;
   }
   EXPECT_EQ(recorder.seen.size(), 1 + rows.size());
}

TEST_F(SbfdTest, AnInterfaceThatComesBackInTimeIsNotMissedAndItsTimeStartsAnew) {
   std::string const down = "simulate interface Ethernet1 oper down";
   std::string const up = "simulate interface Ethernet1 oper up";
   setUp(keyOf("Ethernet1", 17), {1000, 60});
   setUp(keyOf("Ethernet2"));
   world({down, "simulate interface Ethernet2 oper down"});
   ASSERT_TRUE(becomes(keyOf("Ethernet2"), status_t::down));
   world({up});
   turnFor(50ms);
   EXPECT_THAT(recorder.seen, ElementsAre("Ethernet1 down", "Ethernet2 down", "Ethernet2 16 1", "Ethernet1 up"));

   auto const key = keyOf("Ethernet1");
   setUp(key, {300, 1});
   do {  // again if this process was held up for so long that the session had to notice
      world({up});
      ASSERT_TRUE(becomes(key, status_t::up));
      world({down});
      turnFor(100ms);
   } while (mgr().sbfd_echo_session_status(key) == status_t::down);
   auto const start = Clock::now();
   world({up, down});
   ASSERT_TRUE(becomes(key, status_t::down));
   EXPECT_GE(recorder.last - start, 300ms);
}

TEST_F(SbfdTest, OneDeletedDuringAFailureIsSilentAndOneSetThenTakesItsOwnTime) {
   setUp(keyOf("Ethernet1"), {30, 1});
   setUp(keyOf("Ethernet1", 17), {30, 1});
   world({"simulate interface Ethernet1 oper down"});
   mgr().sbfd_echo_session_del(keyOf("Ethernet1"));
   ASSERT_TRUE(becomes(keyOf("Ethernet1", 17), status_t::down));
   auto const start = Clock::now();
   set(keyOf("Ethernet1", 18), {30, 2});
   ASSERT_TRUE(becomes(keyOf("Ethernet1", 18), status_t::down));
   EXPECT_GE(recorder.last - start, 60ms);
   EXPECT_THAT(recorder.seen, ElementsAre("Ethernet1 down", "Ethernet1 16 del", "Ethernet1 17 1", "Ethernet1 18 set",
                                          "Ethernet1 18 1"));
}

TEST_F(SbfdTest, AFailedInterfaceReachesItsManySessionsOnceEachBehindItsOwnEvent) {
   constexpr std::size_t count = 16000;
   constexpr std::uint32_t firstLabel = 1000;
   setUp(keyOf("Ethernet2"));
   for (std::size_t i = 0; i < count; ++i) set(keyOf("Ethernet1", firstLabel + i), {100, 1});
   ASSERT_TRUE(seesEvents(2 * count));
   recorder.seen.clear();
   world({"simulate interface Ethernet1 oper down"});
   ASSERT_TRUE(seesEvents(1 + count));
   EXPECT_EQ(recorder.seen.front(), "Ethernet1 down");
   EXPECT_EQ(std::set(recorder.seen.begin(), recorder.seen.end()).size(), 1 + count);
   deliver();
   EXPECT_EQ(recorder.seen.size(), 1 + count);
   EXPECT_EQ(mgr().sbfd_echo_session_status(keyOf("Ethernet2")), status_t::up);

   world({"simulate interface Ethernet1 oper up"});
   for (std::size_t i = 0; i < count; ++i) {
      mgr().sbfd_echo_session_rtt_enabled_is(keyOf("Ethernet1", firstLabel + i), true);
   }
   int turnsThatReport = 0;
   std::size_t reported = 0;
   ASSERT_TRUE(turnUntil([&] {
      turnsThatReport += recorder.rtts.size() > reported ? 1 : 0;
      reported = recorder.rtts.size();
      return reported >= count;
   }));
   EXPECT_GE(turnsThatReport, 2);  // dozens, unless the machine is slow
}

TEST_F(SbfdTest, RttComesAboutOnceASecondWhileAskedForAndUp) {
   auto const key = keyOf("Ethernet1");
   setUp(key);
   setUp(keyOf("Ethernet1", 17));
   auto const start = Clock::now();
   mgr().sbfd_echo_session_rtt_enabled_is(key, true);
   ASSERT_TRUE(turnUntil([&] { return recorder.rtts.size() == 2; }));
   EXPECT_GE(recorder.last - start, 1s);  // the second of them, however late the first came
   for (auto const& [of, stats] : recorder.rtts) {
      EXPECT_EQ(of, key);
      std::vector const rising{
         1U, stats.min_rtt(), stats.snapshot_min_rtt(), stats.last_rtt(), stats.snapshot_max_rtt(), stats.max_rtt()};
      EXPECT_TRUE(std::ranges::is_sorted(rising)) << stats.to_string();
      EXPECT_TRUE(stats.min_rtt() <= stats.avg_rtt() && stats.avg_rtt() <= stats.max_rtt()) << stats.to_string();
   }
   world({"simulate interface Ethernet1 oper down"});
   ASSERT_TRUE(becomes(key, status_t::down));
   auto const before = recorder.rtts.size();
   turnFor(1100ms);
   world({"simulate interface Ethernet1 oper up"});
   mgr().sbfd_echo_session_rtt_enabled_is(key, false);
   ASSERT_TRUE(becomes(key, status_t::up));
   turnFor(1100ms);
   EXPECT_EQ(recorder.rtts.size(), before);
}

TEST_F(SbfdTest, NoRttFollowsTheDeletionOfItsSessionButASimulatedOne) {
   auto const key = keyOf("Ethernet1");
   for (bool const again : {false, true}) {
      setUp(key);
      sdk_scoped_lock const lock;
      mgr().sbfdRtt(key, {1, 1, 1, 1, 1, 1, 1});
      mgr().simulateRtt(key, {2, 2, 2, 2, 2, 2, 2});
      mgr().sbfd_echo_session_del(key);
      if (again) mgr().sbfd_echo_session_set(key);  // of which nothing has been measured
      deliver();
      ASSERT_EQ(recorder.rtts.size(), 1) << again;
      EXPECT_EQ(recorder.rtts.front().second.last_rtt(), 2);
      recorder.rtts.clear();
   }
}

TEST_F(SbfdTest, NothingHappensByItselfWhileThatIsOff) {
   auto const key = keyOf("Ethernet1");
   auto const failing = keyOf("Ethernet2");
   setUp(failing, {1, 1});
   mgr().sbfd_echo_session_rtt_enabled_is(failing, true);
   world({"simulate interface Ethernet2 oper down", "simulate sbfd auto off"});
   set(key);
   turnFor(1200ms);
   EXPECT_THAT(recorder.take(), ElementsAre("Ethernet2 down", "Ethernet1 16 set"));
   EXPECT_THAT(recorder.rtts, IsEmpty());
   world({"simulate sbfd Ethernet1 10.0.0.1 labels 16 dscp 46 exp 5 status 4"});
   EXPECT_EQ(mgr().sbfd_echo_session_status(key), status_t::admin_down);
   turnFor(50ms);
   EXPECT_THAT(recorder.take(), ElementsAre("Ethernet1 16 4"));

   world({"simulate sbfd auto on", "simulate sbfd auto on"});
   ASSERT_TRUE(seesEvents(2));
   deliver();
   EXPECT_THAT(recorder.take(), ::testing::UnorderedElementsAre("Ethernet1 16 3", "Ethernet2 16 1"));
}

TEST_F(SbfdTest, WhatLiesAheadIsOfSessionsThatExistHoweverOftenTheyChanged) {
   constexpr int count = 10000;
   auto const ahead = [&] {
      deliver();
      return std::pair(device.dataplane->simulation()->sbfd().planned(), device.loop.waiting());
   };
   auto const flap = [&] {
      sdk_scoped_lock const lock;
      for (auto const link : {oper_status_t::up, oper_status_t::down})
         device.intfs.linkIs(intf_id_t("Ethernet1"), link);
   };
   flap();
   for (int i = 0; i < count; ++i) {
      set(keyOf("Ethernet1", i), {65535, 255});  // would notice in hours
      mgr().sbfd_echo_session_rtt_enabled_is(keyOf("Ethernet1", i), true);
      if (i % 100 == 0) deliver();
      mgr().sbfd_echo_session_del(keyOf("Ethernet1", i));
   }
   EXPECT_EQ(ahead(), std::pair(0UL, 0UL));
   set(keyOf("Ethernet1"), {65535, 255});
   for (int i = 0; i < count; ++i) {
      flap();
      if (i % 100 == 0) turnFor(1ms);
   }
   EXPECT_EQ(ahead(), std::pair(1UL, 1UL));
}

TEST_F(SbfdTest, WhatConcernsAnUnknownSessionIsRefused) {
   auto const key = keyOf("Ethernet1");
   EXPECT_THROW(mgr().sbfd_echo_session_interval_is(key, {1, 1}), configuration_error);
   EXPECT_THROW(mgr().sbfd_echo_session_rtt_enabled_is(key, true), configuration_error);
   EXPECT_THROW(mgr().sbfd_echo_session_set({ip_addr_t(), intf_id_t(), {}, 0, 0}), invalid_argument_error);
   EXPECT_FALSE(mgr().sbfd_echo_session_iter());
}

}  // namespace
}  // namespace velm::embedded
