// Faults of the switch at any operation, while controllers program.
#include <fmt/format.h>

#include <algorithm>
#include <random>

#include "trials/chaos/ChaosTest.h"

namespace VelmSdkRpc::chaos {
namespace {

class FaultTest : public ChaosTest {
 protected:
   /// The operations that were called so far, but for those of a client's own commands.
   std::vector<std::string> operations() {
      auto const json = console().showJson("show switch calls");
      std::vector<std::string> names;
      for (auto const& [name, calls] : json["calls"].GetObject()) {
         if (!std::string(name.GetString()).starts_with("vapi_mgr.")) names.emplace_back(name.GetString());
      }
      return names;
   }
   void fail(std::string const& operation, int times) {
      static constexpr std::array errors{"error", "invalid_argument_error", "configuration_error", "unsupported_error"};
      console().configure({fmt::format("simulate fail {} {} {} times {}", operation, errors.at(upTo(errors.size())),
                                       Controller::faultText, times)});
   }
   void noFaults() { console().configure({"simulate no fail"}); }
   std::uint64_t faults() {
      std::uint64_t sum = 0;
      for (auto const& controller : controllers()) sum += controller->faults();
      return sum;
   }
   /// Elements without what a fault makes end the agent: redirects singly, none taken away.
   bool sendOne(Controller& controller) {
      if (controller.any.oneIn(6)) return controller.send({controller.any.redirect()});
      auto batch = controller.any.batch(10, false);
      if (batch.front().index() > 1) batch.resize(1);  // a repetition must not come after its successor
      return controller.send(batch);
   }
   void whileAllSend(std::function<void()> const& work) {
      std::vector<std::jthread> threads;
      for (auto& controller : controllers()) threads.push_back(again([&] { return sendOne(*controller); }));
      work();
      noFaults();
   }
};

TEST_F(FaultTest, WhatFailsIsToldAndWhatIsToldIsSo) {
   whileAllSend([&] { awaitAnswers(100); });
   auto const names = operations();
   std::uint64_t met = 0;
   for (unsigned round = 0; round < Scale::get().rounds && !HasFailure(); ++round) {
      SCOPED_TRACE(fmt::format("round {}", round));
      whileAllSend([&] {
         for (int faults = 0; faults < 20; ++faults) {
            fail(names[static_cast<std::size_t>(upTo(static_cast<int>(names.size())))], 1 + upTo(3));
            awaitAnswers(upTo(10));
         }
      });
      // A policy map whose writing failed is written with the next one.
      ASSERT_TRUE(controller().send({controller().any.redirect(), controller().any.redirect()}));
      expectExact();
      met = faults();
   }
   EXPECT_GT(met, Scale::get().rounds);
   fmt::print("{} faults met in {} operations\n", met, names.size());
}

TEST_F(FaultTest, AResyncThatFailsIsRepeated) {
   whileAllSend([&] { awaitAnswers(100); });
   ASSERT_TRUE(resync());
   auto names = operations();
   std::erase_if(names, [](auto const& name) {
      return name.find(".resync_") == std::string::npos && !name.ends_with("sbfd_echo_session_status");
   });
   EXPECT_EQ(names.size(), 11);  // of five managers two each, and the statuses that its end tells
   std::ranges::shuffle(names, std::mt19937(Scale::get().seed));
   names.resize(std::min<std::size_t>(names.size(), Scale::get().many(4, 11)));
   for (auto const& name : names) {
      SCOPED_TRACE(name);
      whileAllSend([&] { awaitAnswers(50); });
      fail(name, 1);
      auto answer = *controller().resync(pb::RESYNC_START);
      if (name.ends_with("resync_init")) {
         EXPECT_NE(answer.debug_string().find(Controller::faultText), std::string::npos);
      } else {
         // The others' would go, so it is all repeated within.
         for (auto& controller : controllers()) {
            for (auto const& batch : Controller::batchesOf(controller->model.held(), 50)) {
               ASSERT_TRUE(controller->send(batch));
            }
         }
         answer = *controller().resync(pb::RESYNC_END);
         EXPECT_NE(answer.debug_string().find(Controller::faultText), std::string::npos) << answer.ShortDebugString();
         noFaults();
         EXPECT_EQ(controller().resync(pb::RESYNC_END)->status(), pb::rpc_status_msg::STATUS_ERROR);  // none is open
      }
      noFaults();
      expectExact();
      ASSERT_TRUE(resync([&](Element const&) { return !oneIn(3); }));
      expectExact();
   }
}

}  // namespace
}  // namespace VelmSdkRpc::chaos
