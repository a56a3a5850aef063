// An agent that dies, by a signal or by a fault that ends it, under controllers that program, at its start, and in a
// resync: what it answered is there again.
#include <fmt/format.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>

#include "trials/chaos/ChaosTest.h"

namespace VelmSdkRpc::chaos {
namespace {

class KillTest : public ChaosTest {
 protected:
   // Started again, now and then killed before it is there, some times in a row.
   void restartThroughKills() {
      for (int kills = oneIn(3) ? 1 + upTo(3) : 0; kills > 0; --kills) {
         agent().restart();
         auto const soon = std::chrono::milliseconds(upTo(startTime_));
         EXPECT_FALSE(agent().waitForEnd(soon)) << agent().stderrText();
         EXPECT_EQ(end(SIGKILL, std::chrono::seconds(5)), SIGKILL);
      }
      auto const begin = std::chrono::steady_clock::now();
      restart();
      startTime_ = 1 + static_cast<int>((std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(1));
   }
   /// Everything repeated, or about half of it; now and then the agent is killed in the midst.
   void resyncThroughKills() {
      while (oneIn(3)) {
         std::atomic<bool> over = false;
         {
            Again const repeating([&] {
               over = resync();
               return false;
            });
            awaitAnswers(1 + upTo(20), over);  // of few elements there may be fewer
            agent().signal(SIGKILL);
         }
         EXPECT_EQ(agent().waitForEnd(), SIGKILL);
         resyncsKilled_ += over ? 0 : 1;
         restartThroughKills();
         if (!over) {
            expectExplained();
            continue;
         }
         // Redirects that were to go within a second are back: it takes another resync.
         ASSERT_TRUE(resync());
         expectExact();
      }
      bool const all = oneIn(2);
      ASSERT_TRUE(resync([&](Element const&) { return all || oneIn(2); }));
      expectExact();
   }

   int resyncsKilled_ = 0;

 private:
   int startTime_ = 20;  // of the last start, in milliseconds
};

TEST_F(KillTest, WhatWasAnsweredIsThereAfterEachKill) {
   unsigned open = 0;
   for (unsigned kill = 0; kill < Scale::get().rounds && !HasFailure(); ++kill) {
      SCOPED_TRACE(fmt::format("kill {}", kill));
      whileAllProgram(oneIn(3) ? 200 : 10, true, [&] {
         awaitAnswers(1 + upTo(60));
         agent().signal(SIGKILL);
      });
      EXPECT_EQ(agent().waitForEnd(), SIGKILL);
      for (auto const& controller : controllers()) open += controller->open.empty() ? 0 : 1;
      restartThroughKills();
      expectExplained();
      resyncThroughKills();
   }
   EXPECT_GE(2 * open, Scale::get().rounds);  // the kills did hit requests under way
   fmt::print("{} batches were open, {} resyncs killed\n", open, resyncsKilled_);
}

struct Lethal {
   char const* operation;
   enum { init, bulk, removal, event } when;
};

class LethalFaultTest : public KillTest, public ::testing::WithParamInterface<Lethal> {
 protected:
   void flap() {
      try {
         console().configure({"simulate interface Ethernet9 oper down"});
      } catch (std::runtime_error const&) {  // it has ended before its answer has left
      }
   }
};

TEST_P(LethalFaultTest, EndsTheAgentAndLosesNothingThatWasAnswered) {
   auto const [operation, when] = GetParam();
   Controller culprit(agent().address(), 9, Scale::get().seed, findings());
   auto const redirect = culprit.any.redirect();
   ASSERT_TRUE(culprit.send({redirect}));
   auto tracked = pb::sbfd_echo_session_msg();
   tracked.mutable_session_key()->set_outgoing_interface("Ethernet9");
   tracked.mutable_session_key()->mutable_nexthop()->set_addr(std::string("\x0a\0\0\x01", 4));
   tracked.mutable_session_key()->add_labels(9999);
   tracked.set_track_interface_state(true);
   ASSERT_TRUE(culprit.send({tracked}));
   whileAllProgram(10, false, [&] {
      awaitAnswers(20);
      console().configure({fmt::format("simulate fail {} error {} times 1000", operation, faultText)});
      if (when == Lethal::init) culprit.init("other");
      if (when == Lethal::bulk) culprit.send({redirect, redirect});
      if (when == Lethal::event) flap();
      if (when == Lethal::removal) {
         auto deletion = redirect;
         deletion.set_request_delete(true);
         EXPECT_TRUE(culprit.send({deletion}));
      }
      EXPECT_EQ(agent().waitForEnd(Scale::get().seconds(20)), SIGABRT);
   });
   auto const words = agent().stderrText();
   EXPECT_NE(words.find("terminate called after throwing an instance of 'velm::error'"), std::string::npos) << words;
   controller().model.apply(tracked);  // as if it were its own
   controller().model.apply(redirect);
   auto going = redirect;
   going.set_request_delete(true);
   controller().model.apply(going);
   restart();
   expectExplained();
}

INSTANTIATE_TEST_SUITE_P(
   Of, LethalFaultTest,
   ::testing::Values(Lethal{"ip_route_mgr.tag_is", Lethal::init}, Lethal{"policy_map_mgr.exists", Lethal::init},
                     Lethal{"agent_mgr.status_set", Lethal::init}, Lethal{"acl_mgr.acl_commit", Lethal::bulk},
                     Lethal{"policy_map_mgr.policy_map_is", Lethal::bulk}, Lethal{"acl_mgr.acl_del", Lethal::removal},
                     Lethal{"class_map_mgr.class_map_del", Lethal::removal},
                     Lethal{"intf_mgr.admin_enabled", Lethal::event},
                     Lethal{"bfd_session_mgr.sbfd_echo_session_status", Lethal::event}),
   [](auto const& info) {
      std::string name = info.param.operation;
      name[name.find('.')] = '_';
      return name;
   });

}  // namespace
}  // namespace VelmSdkRpc::chaos
