// An agent that was started with room for few descriptors, and requests that it cannot read.
#include <sys/resource.h>

#include <fstream>
#include <unistd.h>

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
#ifndef __SANITIZE_ADDRESS__  // which keeps in quarantine what was freed
   EXPECT_LT(megabytes(), memory + 100);
#endif
   EXPECT_EQ(answer("AgentService.status_set: name: 'a'"), "{}");
}

}  // namespace
}  // namespace VelmSdkRpc
