// Clients that hold watches of every kind, and stop, or go, while events are on their way to them.
#include <fmt/format.h>

#include <atomic>
#include <csignal>
#include <list>

#include "clients/support/Percentiles.h"
#include "tests/support/NativeMessages.h"
#include "trials/chaos/ChaosTest.h"
#include "trials/chaos/Reader.h"
#include "trials/chaos/Watches.h"

namespace VelmSdkRpc::chaos {
namespace {

class ReaderTest : public ChaosTest {
 protected:
   void SetUp() override {
      ChaosTest::SetUp();
      prepareEvents(console(), newChannel());
   }
   void loadRoutes(unsigned count) {
      Batch batch;
      for (unsigned i = 0; i < count; ++i) {
         batch.push_back(routeMsg(fmt::format("172.{}.{}.0/24", i / 256 % 256, i % 256), "g", Controller::tag));
      }
      ASSERT_TRUE(controller().send(batch));
   }

   void raiseMore() override { raiseEvents(console(), ++turn); }

   std::atomic<int> turn = 0;
};

TEST_F(ReaderTest, WhoIsStoppedHoldsNobodyUpAndHearsTheLastStateOnceItGoesOn) {
   auto const& scale = Scale::get();
   loadRoutes(scale.many(5000, 50000));
   std::vector<double> latencies;
   // Twice: glibc keeps some memory of the first time, which is enough for the second.
   for (int time = 1; time <= 2; ++time) {
      std::list<Reader> readers;
      for (int i = 0; i < 4; ++i) readers.emplace_back(agent().address(), 1 + i % 2);
      for (auto& reader : readers) ASSERT_TRUE(reader.says("ready", scale.seconds(30))) << reader.words();
      for (auto& reader : readers) {
         if (&reader != &readers.back()) reader.signal(SIGSTOP);
      }
      for (auto& controller : controllers()) controller->latencies.take();
      whileAllProgram(10, true, [&] {
         for (auto left = scale.many(150, 3000); left > 0; --left) raiseEvents(console(), ++turn);
      });
      raiseLastEvents(console());
      for (auto const& controller : controllers()) {
         for (auto const time : controller->latencies.take()) latencies.push_back(time);
      }
      fmt::print("memory {:.0f} MiB with what was not read\n", memory());
      EXPECT_TRUE(readers.back().says("heard", scale.seconds(60))) << readers.back().words();
      readers.front().signal(SIGCONT);
      EXPECT_TRUE(readers.front().says("heard", scale.seconds(60))) << readers.front().words();
      for (auto const& reader : readers) EXPECT_EQ(reader.words().find("over"), std::string::npos) << reader.words();
      readers.clear();  // killed, two of them as they were stopped
      expectExact();
      if (time == 1) memoryIsUsual();
   }
   auto const [p50, p99, max] = percentilesOf(latencies);
   fmt::print("beside stopped readers {} batches: 50% {:.2f} ms, 99% {:.2f} ms, worst {:.2f} ms\n", latencies.size(),
              p50, p99, max);
   EXPECT_LT(max, 2000 * scale.patience);
}

/// Opens watches of any kind, reads a little, and cancels them at once or in the midst.
class Canceller {
 public:
   Canceller(std::string address, std::uint32_t seed) : address_(std::move(address)), any_(seed) {}

   bool cancelOne(trials::Findings& findings) {
      if (!channel_ || any_.oneIn(30)) channel_ = trials::connectTo(address_);
      auto const kind = any_.upTo(watchKinds);
      auto const stream = watch(kind, channel_);
      for (auto left = any_.oneIn(3) ? 0 : any_.upTo(12); left > 0; --left) {
         if (!stream->next()) findings.add(fmt::format("a watch of {} has ended by itself", nameOf(kind)));
      }
      stream->cancel();
      while (stream->next()) continue;
      auto const status = stream->status();
      if (status.error_code() != grpc::StatusCode::CANCELLED) {
         findings.add(fmt::format("a cancelled watch of {}: status {} {}", nameOf(kind),
                                  static_cast<int>(status.error_code()), status.error_message()));
      }
      return true;
   }

 private:
   std::string const address_;
   AnyMessage any_;
   std::shared_ptr<grpc::Channel> channel_;
};

TEST_F(ReaderTest, NothingIsLeftOfBusyWatchesThatAreCancelled) {
   auto const& scale = Scale::get();
   std::atomic<unsigned> left = scale.many(500, 10000);
   std::list<Canceller> cancellers;
   {
      auto const events = again([&] {
         raiseEvents(console(), ++turn);
         return true;
      });
      std::list<std::jthread> threads;
      for (int i = 0; i < 3; ++i) {
         auto& canceller = cancellers.emplace_back(agent().address(), scale.seed + i);
         threads.push_back(again([&] { return left-- < 1U << 31U && canceller.cancelOne(findings()); }));
      }
      // Beside them the connections of whole processes close.
      for (unsigned kills = scale.many(3, 20); kills > 0; --kills) {
         Reader reader(agent().address(), 5);
         EXPECT_TRUE(oneIn(2) || reader.says("ready", scale.seconds(60)));
         int const until = turn + 1 + upTo(4);
         EXPECT_TRUE(eventually([&] { return turn >= until; }, scale.seconds(60)));
      }
      EXPECT_TRUE(eventually([&] { return left > 1U << 31U; }, scale.seconds(600)));
   }
   cancellers.clear();
   fmt::print("{} turns of events\n", turn.load());
}

}  // namespace
}  // namespace VelmSdkRpc::chaos
