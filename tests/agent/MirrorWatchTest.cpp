// Watches of all mirrors by a script, and what no script can tell: readers that go, and tables that change.
#include <absl/strings/str_split.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <atomic>
#include <fnmatch.h>
#include <fstream>
#include <map>
#include <thread>

#include "remote/agent.grpc.pb.h"
#include "remote/intf.grpc.pb.h"
#include "tests/support/AgentTest.h"
#include "tests/support/AnyCall.h"
#include "tests/support/Mirror.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using ::testing::ElementsAre;
using Words = std::vector<std::string>;

class MirrorWatchTest : public AgentTest {
 protected:
   void play(std::string const& line) {
      auto const sign = std::min(line.find_first_of(":~="), line.size());
      auto const name = std::string(absl::StripTrailingAsciiWhitespace(line.substr(0, sign)));
      auto const rest = sign == line.size() ? "" : std::string(absl::StripAsciiWhitespace(line.substr(sign + 1)));
      if (name.ends_with(" ends")) return end(name.substr(0, name.find(' ')));
      if (line.substr(sign, 1) == "=") return name.ends_with("_handler") ? expectWatched(name, rest) : open(name, rest);
      if (auto const* const method = methodNamed(name)) {
         EXPECT_TRUE(anyCall(channel(), *method, rest).status.ok());
      } else {
         hear(*streams_.at(name), absl::StrSplit(rest, " ; "), line[sign] == ':');
      }
   }

 private:
   void open(std::string const& name, std::string const& call) {
      auto const colon = call.find(':');
      auto& stream = streams_[name];
      stream = std::make_unique<AnyStream>(channel(), *methodNamed(call.substr(0, colon)), call.substr(colon + 1));
      if (call.ends_with("notify_ready: true")) hear(*stream, {"ready: true"}, true);
   }
   void end(std::string const& name) {
      streams_.at(name)->cancel();
      EXPECT_EQ(streams_.at(name)->next(), nullptr);
   }
   static void hear(AnyStream& stream, Words expected, bool inOrder) {
      Words unexpected;
      for (auto left = expected.size(); left > 0; --left) {
         auto const message = stream.next();
         auto const text = message == nullptr ? "the end" : message->ShortDebugString();
         auto const fits = [&](std::string const& wanted) {
            return fnmatch(wanted.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
         };
         auto const last = inOrder ? expected.begin() + 1 : expected.end();
         auto const it = std::find_if(expected.begin(), last, fits);
         if (it == last) {
            unexpected.push_back(text);
            if (message == nullptr) break;
         } else {
            expected.erase(it);
         }
      }
      EXPECT_THAT(unexpected, ::testing::IsEmpty()) << "instead of " << fmt::format("{}", expected);
   }
   void expectWatched(std::string const& handler, std::string const& keys) {
      EXPECT_TRUE(eventually([&] { return fmt::format("{}", fmt::join(watches(handler), " ")) == keys; }));
   }

   std::map<std::string, std::unique_ptr<AnyStream>> streams_;
};

TEST_F(MirrorWatchTest, EveryOneHearsWhatItIsFor) {
   std::ifstream file(WATCHES);
   Words burst;
   for (std::string line; std::getline(file, line);) {
      if (line.empty() || line.starts_with('#')) continue;
      if (line.starts_with("> ")) {
         burst.push_back(line.substr(2));
         continue;
      }
      SCOPED_TRACE(line);
      if (!burst.empty()) world(std::exchange(burst, {}));
      play(line);
      ASSERT_FALSE(HasFailure());
   }
}

TEST_F(MirrorWatchTest, AReaderThatDiesWithAWriteInFlightLeavesAtTheNextPublish) {
   auto const open = [&](std::string const& request) {
      auto stream = std::make_unique<AnyStream>(channel(), *methodNamed("IntfMgrService.watch"), request);
      EXPECT_EQ(stream->next()->ShortDebugString(), "ready: true");
      return stream;
   };
   auto stuck = open("all: true notify_ready: true");
   auto const brisk = open("intf_id { name: 'Ethernet1' } notify_ready: true");
   std::string const large(200'000, 'x');
   for (int i = 0; i < 20; ++i) {
      world({"interface Ethernet1", fmt::format("description \"{} {}\"", i, large)});
      ASSERT_THAT(brisk->next()->ShortDebugString(), ::testing::HasSubstr(fmt::format("\"{} xxx", i)));
   }
   stuck.reset();
   brisk->cancel();
   EXPECT_EQ(brisk->next(), nullptr);
   EXPECT_TRUE(eventually([&] {
      world({"interface Ethernet1", "no description", "description b"});
      return watches("intf_handler").empty();
   }));
}

TEST_F(MirrorWatchTest, ATableRewrittenUnderItsIteratorGivesEachLastingElementOnce) {
   using Stub = remote::AgentService::Stub;
   constexpr int lasting = 3000;
   auto const stub = remote::AgentService::NewStub(channel());
   remote::AgentBulkStatusSetRequest sets;
   for (int i = 0; i < lasting; ++i) sets.add_requests()->set_name(fmt::format("{:06} lasts", i));
   ASSERT_EQ(ask(*stub, &Stub::bulk_status_set, sets).response.count(), lasting);
   std::atomic<bool> over = false;
   std::thread churn([&] {
      auto const other = remote::AgentService::NewStub(agent().channel());
      for (int i = 0; !over; i = (i + 7) % lasting) {
         remote::AgentStatusSetRequest set;
         set.set_name(fmt::format("{:06} comes and goes", i));
         ask(*other, &Stub::status_set, set);
         remote::AgentStatusDelRequest del;
         del.set_name(set.name());
         ask(*other, &Stub::status_del, del);
      }
   });
   for (int walk = 0; walk < 3; ++walk) {
      Words names;
      for (auto const& response : Stream(*stub, &Stub::statuses, remote::AgentStatusesRequest()).rest()) {
         if (response.name().ends_with("lasts")) names.push_back(response.name());
      }
      ASSERT_EQ(names.size(), lasting);
      for (int i = 0; i < lasting; ++i) ASSERT_EQ(names[i], fmt::format("{:06} lasts", i));
   }
   over = true;
   churn.join();
}

}  // namespace
}  // namespace VelmSdkRpc
