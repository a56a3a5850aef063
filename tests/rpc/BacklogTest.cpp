// Backlogs and subscriptions alone, without a server: the test turns the scheduler.
#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "platform/loom/TaskScheduler.h"
#include "rpc/GenericBacklog.h"
#include "rpc/SubscriptionController.h"

namespace VelmSdkRpc {
namespace {

using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using Published = std::vector<std::pair<int, std::string>>;

struct Publish {
   Published* published;
   void operator()(int key, std::string& text) const { published->emplace_back(key, text); }
};

class TestBacklog : public GenericBacklog<int, std::string, Publish> {
 public:
   using GenericBacklog::GenericBacklog;
   using GenericBacklog::task;
};

class BacklogTest : public ::testing::Test {
 protected:
   bool runOne() {
      velm::sdk_scoped_lock const lock;
      return scheduler->runOne();
   }

   Qor::Ptr<Loom::TaskScheduler> const scheduler{new Loom::TaskScheduler};
   Published published;
   TestBacklog backlog{"TestBacklog", scheduler, Publish{&published}};
};

TEST_F(BacklogTest, AKeyIsPublishedOnceWithItsLastState) {
   for (int i = 0; i < 10; ++i) backlog.put(1, std::to_string(i));
   backlog.put(2, "two");
   EXPECT_TRUE(runOne());
   EXPECT_THAT(published, UnorderedElementsAre(Pair(1, "9"), Pair(2, "two")));
   EXPECT_FALSE(runOne());
   backlog.put(1, "again");
   EXPECT_TRUE(runOne());
   EXPECT_EQ(published.back(), std::pair(1, std::string("again")));
}

TEST_F(BacklogTest, ARunThatMustYieldAtOncePublishesOneEntryAndAsksForAnother) {
   backlog.task().taskQuantumIs(0);
   for (int key = 0; key < 5; ++key) backlog.put(key, "first");
   for (std::size_t left = 4; left > 0; --left) {
      ASSERT_TRUE(runOne());
      ASSERT_EQ(backlog.size(), left);
   }
   int const last = [&] {
      for (int key = 0; key < 5; ++key) {
         if (std::ranges::none_of(published, [&](auto const& entry) { return entry.first == key; })) return key;
      }
      return -1;
   }();
   backlog.put(last, "second");  // merges with what waits
   EXPECT_TRUE(runOne());
   EXPECT_EQ(published.back(), std::pair(last, std::string("second")));
   EXPECT_EQ(published.size(), 5);
   EXPECT_FALSE(runOne());
}

/// Checks that starts and stops take turns.
struct Watched {
   void startWatching() {
      EXPECT_TRUE(velm::sdk_scoped_lock::held());
      EXPECT_FALSE(watching);
      watching = true;
   }
   void stopWatching() {
      EXPECT_TRUE(velm::sdk_scoped_lock::held());
      EXPECT_TRUE(watching);
      watching = false;
   }
   bool watching = false;  // guarded by the SDK lock
};

TEST(SubscriptionTest, WatchingIsOnWhileThereIsASubscriberHoweverTheyOvertake) {
   Watched watched;
   SubscriptionController<Watched> subscriptions(watched);
   auto const comeAndGo = [&](std::uintptr_t number) {
      auto* const id = reinterpret_cast<void*>(number);
      for (int i = 0; i < 20'000; ++i) {
         subscriptions.subscribe(id);
         if (i + 1 < 20'000 || number != 2) subscriptions.cancel(id);
      }
   };
   std::thread one(comeAndGo, 1);
   std::thread two(comeAndGo, 2);
   one.join();
   two.join();
   velm::sdk_scoped_lock const lock;
   EXPECT_EQ(subscriptions.size(), 1);
   EXPECT_TRUE(watched.watching);
   subscriptions.cancel(reinterpret_cast<void*>(7));  // not subscribed
   EXPECT_TRUE(watched.watching);
   subscriptions.cancel(reinterpret_cast<void*>(2));
   EXPECT_FALSE(watched.watching);
}

}  // namespace
}  // namespace VelmSdkRpc
