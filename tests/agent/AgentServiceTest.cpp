#include <atomic>
#include <csignal>
#include <thread>

#include "proto/remote/agent.grpc.pb.h"
#include "tests/support/AgentTest.h"
#include "tests/support/Mirror.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Stub = remote::AgentService::Stub;

template <class Request>
Request named(std::string const& name) {
   Request request;
   request.set_name(name);
   return request;
}
remote::AgentStatusSetRequest statusSet(std::string const& name, std::string const& value) {
   auto request = named<remote::AgentStatusSetRequest>(name);
   request.set_value(value);
   return request;
}

class AgentServiceTest : public AgentTest {
 protected:
   AgentServiceTest() : AgentTest({"--trace", "VelmSdkRpc/0", "--trace", "agent/9"}) {}
   void SetUp() override {
      AgentTest::SetUp();
      stub = remote::AgentService::NewStub(channel());
   }
   std::string status(std::string const& name) {
      return ask(*stub, &Stub::status, named<remote::AgentStatusRequest>(name)).response.value();
   }
   std::vector<std::string> statuses() {
      std::vector<std::string> names;
      Stream stream(*stub, &Stub::statuses, remote::AgentStatusesRequest());
      for (auto const& response : stream.rest()) names.push_back(response.name());
      EXPECT_TRUE(stream.finish().ok());
      return names;
   }

   std::unique_ptr<Stub> stub;
};

TEST_F(AgentServiceTest, IdentityAndOptionsAreRead) {
   EXPECT_EQ(ask(*stub, &Stub::agent_id, named<remote::AgentIdRequest>("VelmSdkRpc")).response.id(), 1);
   EXPECT_EQ(ask(*stub, &Stub::agent_id, named<remote::AgentIdRequest>("other")).response.id(), 0);
   EXPECT_TRUE(ask(*stub, &Stub::enabled, remote::AgentEnabledRequest()).response.enabled());
   world({"agent option colour blue", "agent option size 7"});
   EXPECT_EQ(ask(*stub, &Stub::agent_option, named<remote::AgentOptionRequest>("colour")).response.value(), "blue");
   EXPECT_EQ(ask(*stub, &Stub::agent_option, named<remote::AgentOptionRequest>("")).response.value(), "");
   EXPECT_TRUE(
      ask(*stub, &Stub::agent_option_exists, named<remote::AgentOptionExistsRequest>("size")).response.exists());
   EXPECT_FALSE(ask(*stub, &Stub::agent_option_exists, named<remote::AgentOptionExistsRequest>("x")).response.exists());
   Stream options(*stub, &Stub::agent_options, remote::AgentOptionsRequest());
   auto const names = options.rest();
   ASSERT_EQ(names.size(), 2);
   EXPECT_EQ(names[0].name(), "colour");
   EXPECT_EQ(names[1].name(), "size");
   auto const uptime = [&] { return ask(*stub, &Stub::agent_uptime, remote::AgentUptimeRequest()).response.uptime(); };
   auto const before = uptime();
   EXPECT_GT(before, 0);
   EXPECT_GT(uptime(), before);
   stop(SIGTERM);
   EXPECT_THAT(agent().stderrText(), HasSubstr(" Agent VelmSdkRpc id 1\n"));
}

TEST_F(AgentServiceTest, StatusesAndTheNativePairsAreOneTable) {
   init();
   EXPECT_TRUE(ask(*stub, &Stub::status_set, statusSet("a", "1")).status.ok());
   pb::rpc_server_state_config_msg pairs;
   pairs.add_set()->set_key("b");
   pairs.mutable_set(0)->set_value("2");
   EXPECT_THAT(call(&pb::velmsdk_service::Stub::rpc_server_state, pairs), Succeeded());
   EXPECT_EQ(status("b"), "2");
   pb::rpc_server_state_status_msg wanted;
   wanted.add_value()->set_key("a");
   EXPECT_EQ(call(&pb::velmsdk_service::Stub::get_rpc_server_state, wanted).value(0).value(), "1");
   EXPECT_THAT(statuses(), ::testing::ElementsAre("a", "b"));
   EXPECT_TRUE(ask(*stub, &Stub::status_del, named<remote::AgentStatusDelRequest>("a")).status.ok());
   EXPECT_THAT(statuses(), ::testing::ElementsAre("b"));
   world({"simulate fail agent_mgr.status invalid_range_error broken"});
   EXPECT_THAT(ask(*stub, &Stub::status, named<remote::AgentStatusRequest>("b")),
               Fails(grpc::StatusCode::OUT_OF_RANGE, "broken"));
}

TEST_F(AgentServiceTest, BulksReportInTheirAnswer) {
   remote::AgentBulkStatusSetRequest sets;
   for (auto const* name : {"a", "b", "c"}) *sets.add_requests() = statusSet(name, "1");
   EXPECT_EQ(ask(*stub, &Stub::bulk_status_set, sets).response.count(), 3);
   remote::AgentBulkStatusDelRequest dels;
   for (auto const* name : {"absent", "b"}) dels.add_requests()->set_name(name);
   world({"simulate fail agent_mgr.status_del unsupported_error broken"});
   auto const failed = ask(*stub, &Stub::bulk_status_del, dels);
   EXPECT_TRUE(failed.status.ok());
   EXPECT_EQ(failed.response.count(), 0);
   EXPECT_EQ(failed.response.status().code(), remote::RPC_STATUS_CODE_UNIMPLEMENTED);
   auto const done = ask(*stub, &Stub::bulk_status_del, dels).response;
   EXPECT_EQ(done.count(), 2);
   EXPECT_TRUE(done.has_status());
   EXPECT_THAT(statuses(), ::testing::ElementsAre("a", "c"));
}

TEST_F(AgentServiceTest, AWatchBringsEveryChangeOfAnOption) {
   remote::WatchAgentRequest request;
   request.set_notify_ready(true);
   Stream early(*stub, &Stub::watch, request);
   ASSERT_TRUE(early.next());
   world({"agent option old 1"});  // is over before the others come, which get no snapshot
   ASSERT_TRUE(early.next());
   request.set_notify_ready(false);
   Stream plain(*stub, &Stub::watch, request);
   request.set_notify_ready(true);
   Stream ready(*stub, &Stub::watch, request);
   auto const marker = ready.next();
   ASSERT_TRUE(marker);
   EXPECT_TRUE(marker->ready());
   EXPECT_FALSE(marker->has_agent_option());
   EXPECT_TRUE(eventually([&] { return agent().stderrText().find("Enqueue ready: true") != std::string::npos; }));
   world({"agent option colour blue", "agent option colour red", "no agent option colour"});
   for (auto* stream : {&ready, &plain}) {
      for (auto const* value : {"blue", "red", ""}) {
         auto const event = stream->next();
         ASSERT_TRUE(event);
         EXPECT_FALSE(event->ready());
         EXPECT_EQ(event->agent_option().key(), "colour");
         EXPECT_EQ(event->agent_option().value(), value);
      }
   }
}

TEST_F(AgentServiceTest, ATableRewrittenUnderItsIteratorGivesEachLastingElementOnce) {
   constexpr int lasting = 3000;
   remote::AgentBulkStatusSetRequest sets;
   for (int i = 0; i < lasting; ++i) *sets.add_requests() = statusSet(fmt::format("{:06} lasts", i), "1");
   ASSERT_EQ(ask(*stub, &Stub::bulk_status_set, sets).response.count(), lasting);
   std::atomic<bool> over = false;
   std::thread churn([&] {
      auto const other = remote::AgentService::NewStub(agent().channel());
      for (int i = 0; !over; i = (i + 7) % lasting) {
         auto const name = fmt::format("{:06} comes and goes", i);
         ask(*other, &Stub::status_set, statusSet(name, "1"));
         ask(*other, &Stub::status_del, named<remote::AgentStatusDelRequest>(name));
      }
   });
   for (int walk = 0; walk < 3; ++walk) {
      auto names = statuses();
      std::erase_if(names, [](auto const& name) { return !name.ends_with("lasts"); });
      ASSERT_EQ(names.size(), lasting);
      for (int i = 0; i < lasting; ++i) ASSERT_EQ(names[i], fmt::format("{:06} lasts", i));
   }
   over = true;
   churn.join();
}

}  // namespace
}  // namespace VelmSdkRpc
