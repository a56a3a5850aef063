// SIGTERM in the midst of everything.
#include <fmt/format.h>

#include <csignal>
#include <list>

#include "trials/chaos/ChaosTest.h"
#include "trials/chaos/Reader.h"
#include "trials/chaos/Watches.h"

namespace VelmSdkRpc::chaos {
namespace {

class TermTest : public ChaosTest {};

TEST_F(TermTest, AClientThatIsStoppedWhileItIsWrittenToHoldsNoEndUp) {
   prepareEvents(console(), newChannel());
   Reader reader(agent().address());
   ASSERT_TRUE(reader.says("ready", Scale::get().seconds(30)));
   reader.signal(SIGSTOP);
   for (int turn = 0; turn < 300; ++turn) raiseEvents(console(), turn);  // more than its socket takes
   EXPECT_EQ(end(SIGTERM, Scale::get().seconds(2)), 0);
   restart();
}

TEST_F(TermTest, EndsInOrderAndLosesNothingWhateverGoesOn) {
   auto const& scale = Scale::get();
   int turn = 0;
   for (unsigned round = 0; round < scale.many(5, 50) && !HasFailure(); ++round) {
      SCOPED_TRACE(fmt::format("round {}", round));
      prepareEvents(console(), newChannel());
      SwitchConsole const others(newChannel());
      std::list<Reader> readers;
      for (int i = upTo(3); i > 0; --i) readers.emplace_back(agent().address());
      for (auto& reader : readers) EXPECT_TRUE(reader.says("ready", scale.seconds(30)));
      if (!readers.empty() && oneIn(2)) readers.front().signal(SIGSTOP);
      ASSERT_TRUE(oneIn(2) || controller().resync(pb::RESYNC_START));
      {
         auto const events = again([&] {
            try {
               raiseEvents(others, ++turn);
            } catch (std::runtime_error const&) {  // the agent has gone
               return false;
            }
            return true;
         });
         auto const cancels = again([&, kind = 0U]() mutable {
            watch(kind % watchKinds, newChannel(), kind % 3 != 0)->cancel();
            return ++kind != 0;
         });
         whileAllProgram(oneIn(3) ? 500 : 20, true, [&] {
            awaitAnswers(1 + upTo(100));
            EXPECT_EQ(end(oneIn(4) ? SIGINT : SIGTERM, scale.seconds(2)), 0);
         });
      }
      EXPECT_EQ(trials::alarmIn(agent().stderrText()), std::string::npos) << agent().stderrText();
      readers.clear();
      restart();
      expectExplained();
      ASSERT_TRUE(resync());
      expectExact();
   }
}

}  // namespace
}  // namespace VelmSdkRpc::chaos
