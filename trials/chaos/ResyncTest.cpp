// Resyncs whose client dies on the way, and resyncs under storms.
#include <fmt/format.h>

#include <algorithm>
#include <list>

#include "tests/support/NativeMessages.h"
#include "trials/chaos/ChaosTest.h"
#include "trials/chaos/Reader.h"
#include "trials/chaos/Watches.h"
#include "trials/support/BigTable.h"

namespace VelmSdkRpc::chaos {
namespace {

class ResyncTest : public ChaosTest {
 protected:
   /// Opens a resync, repeats a part of what is held beside news, and goes with a request on its way.
   void dieInResync() {
      ASSERT_EQ(controller().resync(pb::RESYNC_START)->debug_string(), "");
      auto const batches = Controller::batchesOf(controller().model.held(), 1 + upTo(10));
      for (auto const& batch : batches) {
         if (oneIn(static_cast<int>(batches.size()))) break;
         ASSERT_TRUE(oneIn(2) || controller().send(batch));
         ASSERT_TRUE(!oneIn(4) || controller().sendAny(5));
      }
      Batch last;
      for (int left = 1 + upTo(500); left > 0; --left) {
         last.push_back(routeMsg(fmt::format("10.{}.0.0/16", upTo(200)), oneIn(3) ? "" : "late", Controller::tag));
      }
      controller().sendAndVanish(last);
   }
   // The open batch was carried out or never came.
   void settle() {
      expectExplained();
      auto carriedOut = controller().model;
      for (auto const& element : controller().open) carriedOut.done(element);
      Tables others;
      for (std::size_t i = 1; i < controllers().size(); ++i) others.merge(controller(i).model.tables());
      auto expected = carriedOut.tables();
      expected.merge(others);
      if (differenceOf(tables(), expected).empty()) controller().model = carriedOut;
      controller().open.clear();
      expectExact();
   }
};

TEST_F(ResyncTest, WhoeverFollowsAClientThatDiedInItsResyncGetsWhatItAsksFor) {
   for (unsigned round = 0; round < Scale::get().many(4, 100) && !HasFailure(); ++round) {
      SCOPED_TRACE(fmt::format("round {}", round));
      whileAllProgram(20, true, [&] { awaitAnswers(60); });
      for (int deaths = 1 + upTo(3); deaths > 0; --deaths) {
         dieInResync();
         settle();
      }
      if (oneIn(2)) {
         ASSERT_TRUE(controller().init(policyMap));  // the next one takes over what is there
         ASSERT_TRUE(controller().sendAny(10));
         expectExact();
      }
      ASSERT_TRUE(controller().init(policyMap));
      // The next one has a table of its own.
      for (auto& controller : controllers()) {
         NativeModel own(Controller::tag);
         for (auto const& [key, text] : controller->model.tables()) {
            if (!key.starts_with("pair ")) continue;
            pb::rpc_server_state_config_msg pair;
            pair.add_set()->set_key(key.substr(5));
            pair.mutable_set(0)->set_value(text);
            own.done(pair);
         }
         for (int elements = upTo(60); elements > 0; --elements) {
            auto const element = controller->any.batch(1).front();
            if (!std::holds_alternative<pb::rpc_server_state_config_msg>(element)) own.done(element);
         }
         controller->model = own;
      }
      ASSERT_TRUE(resync());
      expectExact();
   }
}

/// Many routes, so that a resync takes its time.
class BigResyncTest : public ChaosTest {
 protected:
   template <class Wanted>
   void setRoutes(Wanted&& wanted) {
      constexpr std::size_t bulkSize = 20'000;
      for (std::size_t first = 0; first < table.size(); first += bulkSize) {
         table.set(first, std::min(first + bulkSize, table.size()),
                   [&](std::size_t number) { return wanted(number) ? "big" : ""; });
      }
   }
   void purgeAll() {
      EXPECT_EQ(controller().resync(pb::RESYNC_START)->debug_string(), "");
      EXPECT_EQ(controller().resync(pb::RESYNC_END)->debug_string(), "");
   }
   void raiseMore() override { raiseEvents(console(), ++turn); }

   trials::BigTable table{newChannel(), 20, Scale::get().many(50'000, 1'000'000), Controller::tag};
   std::atomic<int> turn = 0;
};

TEST_F(BigResyncTest, IsExactUnderStormsWhoseWatchersHearTheLastStates) {
   auto const& scale = Scale::get();
   auto const all = [](std::size_t) { return true; };
   auto const stays = [&](std::size_t number) { return ((number * 2654435761U + scale.seed) >> 16U) % 2 == 0; };
   prepareEvents(console(), newChannel());
   setRoutes(all);
   purgeAll();
   memoryIsUsual();  // from here on the heap has its size
   setRoutes(all);
   std::list<Reader> readers;
   for (int i = 0; i < 3; ++i) readers.emplace_back(agent().address(), 1, false);
   for (auto& reader : readers) ASSERT_TRUE(reader.says("ready", scale.seconds(30))) << reader.words();
   auto const begin = std::chrono::steady_clock::now();
   {
      auto const storms = again([&] {
         raiseEvents(console(), ++turn);
         return true;
      });
      ASSERT_EQ(controller().resync(pb::RESYNC_START)->debug_string(), "");
      setRoutes(stays);
      ASSERT_EQ(controller().resync(pb::RESYNC_END)->debug_string(), "");
   }
   fmt::print("resync of {} routes under {} turns of events: {:.1f} s\n", table.size(), turn.load(),
              std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
   raiseLastEvents(console());
   auto const found = table.found();
   for (std::size_t number = 0; number < found.size(); ++number) ASSERT_EQ(found[number], stays(number)) << number;
   for (auto& reader : readers) EXPECT_TRUE(reader.says("heard", scale.seconds(60))) << reader.words();
   readers.clear();
   purgeAll();
}

}  // namespace
}  // namespace VelmSdkRpc::chaos
