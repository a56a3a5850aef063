// An agent with room for few descriptors, requests that it cannot read, and a client that does not read.
#include <sys/resource.h>

#include <fstream>
#include <unistd.h>

#include "proto/velmsdk.pb.h"
#include "tests/agent/AgentTest.h"
#include "tests/support/RawCall.h"

namespace VelmSdkRpc {
namespace {

class FewDescriptorsTest : public AgentTest {
 protected:
   void SetUp() override {
      rlimit before{};
      getrlimit(RLIMIT_NOFILE, &before);
      rlimit const low{.rlim_cur = 128, .rlim_max = before.rlim_max};
      setrlimit(RLIMIT_NOFILE, &low);
      AgentTest::SetUp();
      setrlimit(RLIMIT_NOFILE, &before);
   }
};

TEST_F(FewDescriptorsTest, ManyClientsAreNotHeldBackByTheSoftLimit) {
   std::vector<std::shared_ptr<grpc::Channel>> channels;
   for (int i = 0; i < 200; ++i) {
      channels.push_back(agent().channel());
      auto const inTime = std::chrono::system_clock::now() + std::chrono::seconds(20);
      ASSERT_TRUE(channels.back()->WaitForConnected(inTime)) << i;
   }
}

class UnreadableTest : public AgentTest {
 protected:
   double megabytes() {
      std::ifstream file(fmt::format("/proc/{}/statm", agent().pid()));
      std::size_t pages = 0;
      file >> pages >> pages;
      return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
   }
};

TEST_F(UnreadableTest, LeavesNothing) {
   std::string bulk;
   for (int i = 0; i < 100'000; ++i) bulk += std::string("\x0a\x05\x0a\x03\x0a\x01\x0a", 7);  // a prefix each
   bulk.pop_back();
   [[maybe_unused]] auto const memory = megabytes();
   for (int i = 0; i < 20; ++i) {
      auto const status = rawCall(channel(), "/VelmSdkRpc.pb.velmsdk_service/ip_route_bulk", bulk);
      ASSERT_EQ(status.error_message(), "Unable to parse request");
   }
#ifndef VELM_SANITIZED
   EXPECT_LT(megabytes(), memory + 100);
#endif
   EXPECT_EQ(answer("AgentService.status_set: name: 'a'"), "{}");
}

class StuckTest : public AgentTest {};

TEST_F(StuckTest, StatusesOvertakeTheFiguresThatWaitForAWrite) {
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
