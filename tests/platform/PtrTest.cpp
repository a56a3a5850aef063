#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "platform/qor/AllocTrack.h"
#include "platform/qor/Hash.h"
#include "platform/qor/PtrInterface.h"

namespace Qor {
namespace {

using ::testing::ElementsAre;

std::uint64_t objectsInUse() { return AllocTrackTypeInfo::of<PtrInterface>().allocations(); }

struct Subject : PtrInterface {
   explicit Subject(bool* gone = nullptr) : gone(gone) {}
   ~Subject() override {
      Ptr<Subject> const lastWords(this);  // comes and goes without deleting again
      if (gone != nullptr) *gone = true;
   }
   void changed(int value) { notify(7, &value); }
   bool* gone;
};

struct Reactor : PtrInterface::NotifieeConst {
   explicit Reactor(Ptr<Subject> const& subject) {
      isRegisteredNotifieeIs(true);
      notifierIs(subject);
      hasNotificationActiveIs(true);
   }
   void onAttribute(AttributeId id, void const* value) override {
      EXPECT_EQ(id, 7U);
      react(*static_cast<int const*>(value));
   }
   std::function<void(int)> react = [](int) {};
};

class PtrTest : public ::testing::TestWithParam<bool> {
 protected:
   PtrTest() { VFPtrInterface::threadSafePointersIs(GetParam()); }
   ~PtrTest() override {
      VFPtrInterface::threadSafePointersIs(false);
      EXPECT_EQ(objectsInUse(), before_);
   }

 private:
   std::uint64_t const before_ = objectsInUse();
};
INSTANTIATE_TEST_SUITE_P(PlainAndAtomic, PtrTest, ::testing::Bool());

TEST_P(PtrTest, TheLastPointerDeletesWhateverTheFlagsSay) {
   bool gone = false;
   auto const before = objectsInUse();
   Ptr<Subject> first(new Subject(&gone));
   EXPECT_EQ(objectsInUse(), before + 1);
   first->qorMarkedForDeletionIs(true);
   first->hasNotificationActiveIs(true);
   Ptr<PtrInterface const> second = first;
   Ptr<Subject> third = std::move(first);
   EXPECT_TRUE(first == nullptr && third && second == Ptr<PtrInterface const>(third));
   EXPECT_EQ(third->references(), 2U);
   third->qorMarkedForDeletionIs(false);
   EXPECT_TRUE(!third->qorMarkedForDeletion() && third->hasNotificationActive());
   EXPECT_EQ(second->fwkType(), typeid(Subject));
   third = *&third;
   EXPECT_EQ(third->references(), 2U);
   third = nullptr;
   EXPECT_FALSE(gone);
   second = Ptr<PtrInterface const>();
   EXPECT_TRUE(gone);
}

TEST_P(PtrTest, ThreadsMayShareAnObjectOnlyWhenCountsAreAtomic) {
   bool gone = false;
   Ptr<Subject> shared(new Subject(&gone));
   std::vector<std::thread> threads;
   for (int i = 0; i < (GetParam() ? 4 : 1); ++i) {
      threads.emplace_back([mine = shared] {
         for (int turn = 0; turn < 20000; ++turn) Ptr<Subject> const copy = mine;
      });
   }
   for (auto& thread : threads) thread.join();
   threads.clear();
   EXPECT_EQ(shared->references(), 1U);
   shared = nullptr;
   EXPECT_TRUE(gone);
}

TEST_P(PtrTest, AReactorHearsItsNotifierWhileBothAreActive) {
   Ptr<Subject> const subject(new Subject);
   Ptr<Reactor> reactor(new Reactor(subject));
   Ptr<Subject> const other(new Subject);
   std::vector<int> heard;
   reactor->react = [&](int value) { heard.push_back(value); };
   for (int value = 0;
        auto const& change : std::vector<std::function<void()>>{
           [] {}, [&] { subject->hasNotificationActiveIs(true); }, [&] { reactor->hasNotificationActiveIs(false); },
           [&] { reactor->hasNotificationActiveIs(true); }, [&] { reactor->isRegisteredNotifieeIs(false); },
           [&] { reactor->isRegisteredNotifieeIs(true); }, [&] { reactor->notifierIs(other); }}) {
      change();
      subject->changed(value++);
   }
   EXPECT_THAT(heard, ElementsAre(1, 3, 5));
   EXPECT_EQ(subject->references(), 1U);
   EXPECT_THAT(other->notifieeList(), ElementsAre(reactor.get()));
   reactor = nullptr;
   EXPECT_TRUE(other->notifieeList().empty());
}

TEST_P(PtrTest, ReactorsComeAndGoDuringANotification) {
   Ptr<Subject> subject(new Subject);
   subject->hasNotificationActiveIs(true);
   std::vector<Ptr<Reactor>> reactors;
   std::vector<int> heard;
   auto const add = [&](int name) {
      reactors.emplace_back(new Reactor(subject));
      reactors.back()->react = [&heard, name](int) { heard.push_back(name); };
   };
   for (int name : {0, 1, 2, 3}) add(name);
   reactors[1]->react = [&](int depth) {
      heard.push_back(1);
      if (depth != 0) return;
      reactors[0] = nullptr;  // behind the walk
      reactors[2] = nullptr;  // ahead of it
      add(9);                 // not told before the next time
      subject->changed(1);
   };
   subject->changed(0);
   EXPECT_THAT(heard, ElementsAre(0, 1, /* the inner one */ 1, 3, 9, /* the outer one again */ 3));
   EXPECT_THAT(subject->notifieeList(), ElementsAre(reactors[1].get(), reactors[3].get(), reactors[4].get()));

   auto* const notifier = subject.get();
   bool gone = false;
   subject->gone = &gone;
   subject = nullptr;
   reactors[1]->react = [&](int) { reactors.clear(); };  // and so the reactor itself, and the notifier
   notifier->changed(0);
   EXPECT_TRUE(gone);
}

TEST(HashTest, OrderAndBordersOfWhatIsMixedInCount) {
   auto const hash = [](std::vector<std::string> const& parts) {
      Hash mixed(HashHelper::hashSeed32());
      for (auto const& part : parts) mixed.hashMix(part);
      return mixed.result();
   };
   EXPECT_EQ(hash({"ab", "c"}), hash({"ab", "c"}));
   for (auto const& other : std::vector<std::vector<std::string>>{
           {"a", "bc"}, {"c", "ab"}, {"abc"}, {"ab", "c", ""}, {"ab", std::string("c\0", 2)}}) {
      EXPECT_NE(hash({"ab", "c"}), hash(other));
   }
}

}  // namespace
}  // namespace Qor
