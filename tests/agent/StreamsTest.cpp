// Streams under load, which no script can tell of: readers that go or do not read, and tables that change.
#include <atomic>
#include <thread>

#include "proto/velmsdk.pb.h"
#include "tests/agent/AgentTest.h"

namespace VelmSdkRpc {
namespace {

class StreamsTest : public AgentTest {};

TEST_F(StreamsTest, AReaderThatDiesWithAWriteInFlightLeavesAtTheNextPublish) {
   auto const open = [&](std::string const& request) {
      auto stream = std::make_unique<AnyStream>(channel(), *methodOf("IntfMgrService.watch"), request);
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

TEST_F(StreamsTest, ATableRewrittenUnderItsIteratorGivesEachLastingElementOnce) {
   constexpr int lasting = 3000;
   std::string sets = "AgentService.bulk_status_set:";
   std::string expected;
   for (int i = 0; i < lasting; ++i) {
      auto const name = fmt::format("name: \"{:06} lasts\"", i);
      sets += " requests { " + name + " }";
      expected += name + ' ';
   }
   ASSERT_EQ(answer(sets), fmt::format("status {{ }} count: {}", lasting));
   std::atomic<bool> over = false;
   std::thread churn([&] {
      for (int i = 0; !over; i = (i + 7) % lasting) {
         for (auto const* method : {"status_set", "status_del"}) {
            answer(fmt::format("AgentService.{}: name: '{:06} comes and goes'", method, i));
         }
      }
   });
   for (int walk = 0; walk < 3; ++walk) {
      std::string found;
      for (auto const& response : anyCall(channel(), *methodOf("AgentService.statuses"), "").responses) {
         auto const text = response->ShortDebugString();
         if (text.ends_with("lasts\"")) found += text + ' ';
      }
      EXPECT_EQ(found, expected);
   }
   over = true;
   churn.join();
}

TEST_F(StreamsTest, StatusesOvertakeTheFiguresThatWaitForAWrite) {
   constexpr int sessionCount = 6000;
   constexpr int rounds = 5;
   grpc::ChannelArguments narrow;  // else the client's side takes megabytes that nobody reads
   narrow.SetInt(GRPC_ARG_HTTP2_BDP_PROBE, 0);
   narrow.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   auto const narrowChannel = grpc::CreateCustomChannel(agent().address(), grpc::InsecureChannelCredentials(), narrow);
   AnyStream stream(narrowChannel, *methodOf("watch_sbfd_echo_session_status_msgs"), "");
   anyCall(narrowChannel, *methodOf("get_rpc_server_state"), "");  // taken after the stream's call
   std::vector<std::string> reports;
   for (int i = 0; i < sessionCount; ++i) {
      reports.push_back(
         fmt::format("simulate sbfd Ethernet1 10.0.0.1 labels {} dscp 0 exp 0 rtt 1 1 1 1 1 1 1", 16 + i));
   }
   auto const await = [&](char const* task, char const* figure, int value) {
      return eventually([&] { return show("show switch tasks")["tasks"][task][figure].GetInt() == value; });
   };
   for (int round = 1; round <= rounds; ++round) {
      world(reports);  // more than all windows on the way take, and nobody reads
      ASSERT_TRUE(await("bfdRttBacklog", "work_count", round * sessionCount));
   }
   world({"simulate sbfd Ethernet2 10.0.0.1 labels 7 dscp 0 exp 0 status 3"});
   ASSERT_TRUE(await("BfdSendAliveBulk", "runs", 1));
   int before = 0;
   int after = 0;
   for (bool told = false; before + after < rounds * sessionCount || !told;) {
      auto const message = stream.next();
      ASSERT_NE(message, nullptr);
      auto const& batch = dynamic_cast<pb::watch_sbfd_echo_session_status_msg const&>(*message);
      told = told || batch.bulk(0).has_status();
      (told ? after : before) += batch.bulk(0).has_status() ? 0 : batch.bulk_size();
   }
   EXPECT_LT(before, 2 * sessionCount);
   EXPECT_EQ(before + after, rounds * sessionCount);
}

}  // namespace
}  // namespace VelmSdkRpc
