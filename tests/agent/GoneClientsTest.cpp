// What the agent keeps of clients that have gone and of requests that it could not read: nothing.
#include <sys/resource.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <unistd.h>

#include "tests/support/AgentTest.h"
#include "tests/support/RawCall.h"

namespace VelmSdkRpc {
namespace {

using Stub = pb::velmsdk_service::Stub;

/// An agent that was started with room for few descriptors.
class GoneClientsTest : public AgentTest {
 protected:
   void SetUp() override {
      rlimit before{};
      getrlimit(RLIMIT_NOFILE, &before);
      rlimit const low{.rlim_cur = 128, .rlim_max = before.rlim_max};
      setrlimit(RLIMIT_NOFILE, &low);
      AgentTest::SetUp();
      setrlimit(RLIMIT_NOFILE, &before);
   }

   std::string proc(char const* name) { return fmt::format("/proc/{}/{}", agent().pid(), name); }
   std::ptrdiff_t descriptors() {
      return std::distance(std::filesystem::directory_iterator(proc("fd")), std::filesystem::directory_iterator());
   }
   double megabytes() {
      std::ifstream file(proc("statm"));
      std::size_t pages = 0;
      file >> pages >> pages;
      return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
   }
   void expectNoMoreThan(double most) {
#ifdef __SANITIZE_ADDRESS__
      static_cast<void>(most);  // what was freed stays in quarantine
#else
      EXPECT_LT(megabytes(), most);
#endif
   }
};

TEST_F(GoneClientsTest, TwoThousandThatWatchedKeepNeitherDescriptorsNorMemory) {
   std::atomic<bool> over = false;
   std::thread updates([&] {
      auto const stub = velm::remote::VapiMgrService::NewStub(agent().channel());
      for (int status = 1; !over; status ^= 2) {
         grpc::ClientContext context;
         velm::remote::RunConfigCmdsRequest request;
         request.add_commands(fmt::format("simulate sbfd Ethernet1 10.0.0.1 labels 16 dscp 0 exp 0 status {}", status));
         velm::remote::RunConfigCmdsResponse response;
         stub->run_config_cmds(&context, request, &response);
      }
   });
   // A client that is there for as long as its stream, and has certainly been heard.
   auto const visit = [&](auto method, auto const& request) {
      auto const stub = pb::velmsdk_service::NewStub(agent().channel());
      grpc::ClientContext context;
      auto const stream = (stub.get()->*method)(&context, request);
      grpc::ClientContext asking;
      pb::rpc_server_state_status_msg answer;
      EXPECT_TRUE(stub->get_rpc_server_state(&asking, {}, &answer).ok());
      context.TryCancel();
      EXPECT_FALSE(stream->Finish().ok());
   };
   auto const visits = [&](int times) {
      for (int i = 0; i < times; ++i) {
         visit(&Stub::watch_rpc_server_alive, pb::rpc_server_alive_msg());
         visit(&Stub::watch_sbfd_echo_session_status_msgs, pb::watch_sbfd_echo_session_config_msg());
      }
   };
   visits(50);
   EXPECT_TRUE(eventually([&] { return descriptors() < 64; })) << descriptors();
   auto const before = descriptors();
   auto const memory = megabytes();
   visits(500);
   over = true;
   updates.join();
   visits(500);  // of which the streams were idle
   EXPECT_TRUE(eventually([&] { return descriptors() <= before; })) << descriptors() << ", not " << before;
   expectNoMoreThan(memory + 10);
}

TEST_F(GoneClientsTest, ManyAtOnceAreNotHeldBackByTheSoftLimit) {
   std::vector<std::shared_ptr<grpc::Channel>> channels;
   for (int i = 0; i < 200; ++i) {
      channels.push_back(agent().channel());
      auto const inTime = std::chrono::system_clock::now() + std::chrono::seconds(20);
      ASSERT_TRUE(channels.back()->WaitForConnected(inTime)) << i;
   }
   EXPECT_GT(descriptors(), 200);
}

TEST_F(GoneClientsTest, RequestsThatCannotBeParsedLeaveNothing) {
   init();
   pb::ip_route_bulk_msg routes;
   for (int i = 0; i < 100'000; ++i) {
      *routes.add_ip_route() = routeMsg(fmt::format("10.{}.{}.0/24", i / 256 % 256, i % 256), "group");
   }
   auto const bytes = routes.SerializeAsString();
   auto const cut = bytes.substr(0, bytes.size() - 1);
   auto const memory = megabytes();
   for (int i = 0; i < 20; ++i) {
      auto const status = rawCall(channel(), "/VelmSdkRpc.pb.velmsdk_service/ip_route_bulk", cut);
      ASSERT_EQ(status.error_message(), "Unable to parse request");
   }
   expectNoMoreThan(memory + 100);
   EXPECT_THAT(setRoute(routeMsg("11.0.0.0/8", "g")), Succeeded());
}

}  // namespace
}  // namespace VelmSdkRpc
