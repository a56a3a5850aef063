#include <fmt/format.h>

#include <atomic>
#include <iterator>
#include <random>
#include <set>
#include <thread>
#include <utility>

#include "platform/linux/netlink/LinkRequests.h"
#include "tests/linux/MachineTest.h"

namespace velm::netlink {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FloodTest : public MachineTest {
 protected:
   /// Lines of `ip`: the given one for each number, with {0} for it and {1}.{2} for its two bytes.
   static std::string lines(int count, char const* line) {
      std::string text;
      for (int i = 0; i < count; ++i) {
         fmt::format_to(std::back_inserter(text), fmt::runtime(line), i, i / 256, i % 256);
         text += '\n';
      }
      return text;
   }
};

TEST_F(FloodTest, LostNoticesAreMadeGoodByTellingWhatDiffers) {
   device->ip(
      "link set Ethernet1 up\naddr add 10.0.0.1/24 dev Ethernet1\n"
      "neigh add 10.0.0.2 dev Ethernet1 lladdr 02:00:00:00:00:02\nlink add Ethernet2 type ifb\n"
      "link add Ethernet4 index 41 type ifb\nlink add Ethernet5 index 42 type ifb");
   observe(16 * 1024);
   news();
   // Under the flood a link is replaced by another of its name, one changes, one comes, and two exchange their names.
   device->ip(
      lines(300, "addr add 10.9.{1}.{2}/32 dev lo") +
      "link del Ethernet2\nlink add Ethernet2 index 50 type ifb\nlink set Ethernet1 alias new\n"
      "neigh del 10.0.0.2 dev Ethernet1\naddr del 10.0.0.1/24 dev Ethernet1\nlink add Ethernet3 index 60 type ifb\n"
      "link set Ethernet4 name x\nlink set Ethernet5 name Ethernet4\nlink set x name Ethernet5\n" +
      lines(300, "addr del 10.9.{1}.{2}/32 dev lo"));
   auto told = news();
   EXPECT_EQ(machine->listings(), 2U);
   std::erase_if(told, [](std::string const& text) { return text.starts_with("lo "); });
   EXPECT_THAT(told,
               ElementsAre("Ethernet1 - 10.0.0.2", "Ethernet1 -10.0.0.1/24", "-Ethernet2", "-Ethernet4", "-Ethernet5",
                           "Ethernet1 alias new", "+Ethernet5", "+Ethernet4", "+Ethernet2", "+Ethernet3"));
   EXPECT_EQ(index("Ethernet2"), 50);
   EXPECT_THAT(machine->addresses().rows(), IsEmpty());
   // What comes behind the listing comes by notice again.
   device->ip("addr add 10.0.0.1/24 dev Ethernet1");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 +10.0.0.1/24"));
   EXPECT_EQ(machine->listings(), 2U);
}

/// Lines of `ip` that make, unmake and rename links and give them addresses and neighbours, at random but sensibly.
class Churn {
 public:
   std::string lines(int count) {
      for (int i = 0; i < count; ++i) line(pick(6));
      return std::exchange(text_, {});
   }

 private:
   int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
   std::string some() const { return *std::next(links_.begin(), static_cast<long>(random_() % links_.size())); }
   void line(int what) {
      auto const name = fmt::format("x{}", pick(8));
      if (links_.size() < 2 || (what == 0 && !links_.contains(name))) {
         if (links_.insert(name).second) text_ += "link add " + name + " type ifb\n";
      } else if (what == 1) {
         text_ += "link del " + *links_.begin() + "\n";
         links_.erase(links_.begin());
      } else if (what == 2 && !links_.contains(name)) {
         auto const before = some();
         links_.erase(before);
         links_.insert(name);
         text_ += "link set " + before + " name " + name + "\n";
      } else if (what == 3) {
         text_ += fmt::format("addr replace 10.0.{}.1/24 dev {}\n", pick(4), some());
      } else if (what == 4) {
         text_ += "addr flush dev " + some() + "\n";
      } else {
         text_ += fmt::format("neigh replace 10.0.0.{} dev {} lladdr 02:00:00:00:00:0{}\n", pick(9), some(), pick(9));
      }
   }

   std::minstd_rand mutable random_{7};
   std::set<std::string> links_;
   std::string text_;
};

TEST_F(FloodTest, ChurnThatOutrunsTheReaderEndsInTheTruth) {
   observe(0);  // room for one notice
   std::atomic<bool> over = false;
   std::thread world([&] {
      device->ip(Churn().lines(800));
      device->ip("link add y0 type ifb\nlink add y1 type ifb\n" +
                 lines(200, "link set y0 name y2\nlink set y1 name y0\nlink set y2 name y1"));
      over = true;
   });
   while (!over) news();  // the recorder sees to the order of what is told
   world.join();
   news();
   EXPECT_GT(machine->listings(), 1U);
   Recorder fresh;
   Namespace::Inside const inside(*device);
   Machine truth(fresh, fresh, fresh);
   truth.readable();
   EXPECT_TRUE(machine->links().rows() == truth.links().rows());
   EXPECT_TRUE(machine->addresses().rows() == truth.addresses().rows());
   EXPECT_TRUE(machine->neighbours().rows() == truth.neighbours().rows());
   EXPECT_GE(truth.links().rows().size(), 3U);
}

TEST_F(FloodTest, TenThousandOfEachComeByNoticesAndByTheList) {
   constexpr int many = 10'000;
   observe();
   device->ip("link set Ethernet1 up");
   news();
   device->ip(lines(many, "addr add 2001:db8::{0}/128 dev lo nodad") +
              lines(many, "neigh add 10.0.{1}.{2} dev Ethernet1 lladdr 02:00:00:00:00:02"));
   std::size_t told = 0;
   await([&] { return (told += news().size()) == 2U * many; }, "everything");
   EXPECT_EQ(machine->listings(), 1U);
   recorder = Recorder();
   observe();
   news();
   EXPECT_EQ(machine->addresses().rows().size(), std::size_t{many});
   EXPECT_EQ(machine->neighbours().rows().size(), std::size_t{many});
   device->ip("link del Ethernet1");
   EXPECT_THAT(news(), Contains("-Ethernet1"));
   EXPECT_THAT(machine->neighbours().rows(), IsEmpty());
}

TEST_F(FloodTest, AnObserverMayAskTheKernelAndReadOnlyLater) {
   observe();
   LinkRequests links(*machine);
   news();
   recorder.within = [&, asked = false]() mutable {
      if (!std::exchange(asked, true)) links.aliasIs(11, "seen");
      machine->readable();
   };
   device->ip("link set Ethernet1 up");
   EXPECT_THAT(news(), ElementsAre("Ethernet1 up", "Ethernet1 alias seen"));
}

}  // namespace
}  // namespace velm::netlink
