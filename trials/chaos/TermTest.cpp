// SIGTERM in the midst of everything.
#include <fmt/format.h>

#include <csignal>
#include <list>

#include "trials/chaos/ChaosTest.h"
#include "trials/chaos/ReaderProcess.h"
#include "trials/chaos/Watches.h"
#include "trials/storm/Caller.h"

namespace VelmSdkRpc::chaos {
namespace {

class TermTest : public ChaosTest {
 protected:
   // Nobody is told when the agent goes.
   bool unlessGone(std::function<void()> const& work) {
      try {
         work();
      } catch (std::runtime_error const&) {
         return false;
      }
      return true;
   }
   bool openAndCancel() {
      auto const stream = watch(static_cast<std::size_t>(kind_++ % watchKinds), storm::connectTo(agent().address()));
      bool const alive = kind_ % 3 == 0 || std::string(nameOf((kind_ - 1) % watchKinds)) == "sbfd" || stream->next();
      stream->cancel();
      return alive;
   }

 private:
   unsigned kind_ = 0;
};

TEST_F(TermTest, AClientThatIsStoppedWhileItIsWrittenToHoldsNoEndUp) {
   prepareEvents(console(), storm::connectTo(agent().address()));
   ReaderProcess reader(agent().address(), 1);
   ASSERT_TRUE(reader.says("ready", Scale::get().seconds(30)));
   reader.signal(SIGSTOP);
   for (int turn = 0; turn < 300; ++turn) raiseEvents(console(), turn);  // more than its socket takes
   EXPECT_EQ(end(SIGTERM, Scale::get().seconds(2)), 0);
   restart();
}

TEST_F(TermTest, EndsInOrderAndLosesNothingWhateverGoesOn) {
   auto const& scale = Scale::get();
   int turn = 0;
   double longest = 0;
   for (unsigned round = 0; round < scale.many(5, 50) && !HasFailure(); ++round) {
      SCOPED_TRACE(fmt::format("round {}", round));
      prepareEvents(console(), storm::connectTo(agent().address()));
      storm::Console const others(agent());
      std::list<ReaderProcess> readers;
      for (int i = upTo(3); i > 0; --i) readers.emplace_back(agent().address(), 1);
      for (auto& reader : readers) EXPECT_TRUE(reader.says("ready", scale.seconds(30)));
      if (!readers.empty() && oneIn(2)) readers.front().signal(SIGSTOP);
      ASSERT_TRUE(oneIn(2) || controller().resync(pb::RESYNC_START));
      std::chrono::steady_clock::time_point begin;
      {
         Again const events([&] { return unlessGone([&] { raiseEvents(others, ++turn); }); });
         Again const cancels([&] { return openAndCancel(); });
         whileAllProgram(oneIn(3) ? 500 : 20, true, [&] {
            awaitAnswers(1 + upTo(100));
            begin = std::chrono::steady_clock::now();
            EXPECT_EQ(end(oneIn(4) ? SIGINT : SIGTERM, scale.seconds(2)), 0);
         });
      }
      auto const took = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin);
      longest = std::max(longest, took.count());
      auto const words = agent().stderrText();
      for (auto const* alarm : {"Sanitizer", "runtime error", "assertion failed", "terminate called", "panic"}) {
         EXPECT_EQ(words.find(alarm), std::string::npos) << words;
      }
      readers.clear();
      restart();
      expectExplained();
      ASSERT_TRUE(resync());
      expectExact();
   }
   fmt::print("ended within {:.0f} ms\n", longest);
}

}  // namespace
}  // namespace VelmSdkRpc::chaos
