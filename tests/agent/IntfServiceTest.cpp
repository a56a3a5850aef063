#include "proto/remote/intf.grpc.pb.h"
#include "proto/remote/intf_counter.grpc.pb.h"
#include "tests/support/AgentTest.h"
#include "tests/support/Mirror.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Stub = remote::IntfMgrService::Stub;

remote::IntfId intf(std::string const& name) {
   remote::IntfId intf;
   intf.set_name(name);
   return intf;
}
template <class Request>
Request about(std::string const& name) {
   Request request;
   *request.mutable_intf_id() = intf(name);
   return request;
}
remote::AdminEnabledIsRequest adminEnabledIs(std::string const& name, bool enabled) {
   auto request = about<remote::AdminEnabledIsRequest>(name);
   request.set_enabled(enabled);
   return request;
}

/// An event in a word: "Ethernet1 oper 2".
std::string wordOf(std::optional<remote::WatchIntfResponse> const& response) {
   if (!response) return "end";
   if (response->ready()) return response->intf_event_case() == 0 && !response->has_intf_id() ? "ready" : "odd marker";
   auto const& name = response->intf_id().name();
   switch (response->intf_event_case()) {
      case remote::WatchIntfResponse::kLifecycle: return fmt::format("{} lifecycle {}", name, response->lifecycle());
      case remote::WatchIntfResponse::kOperStatus: return fmt::format("{} oper {}", name, response->oper_status());
      case remote::WatchIntfResponse::kAdminEnabled: return fmt::format("{} admin {}", name, response->admin_enabled());
      case remote::WatchIntfResponse::kDescription: return fmt::format("{} is {}", name, response->description());
      default: return name + " nothing";
   }
}

class IntfServiceTest : public AgentTest {
 protected:
   void SetUp() override {
      AgentTest::SetUp();
      stub = remote::IntfMgrService::NewStub(channel());
   }
   /// A watch of one interface, or of all, with its marker read.
   std::unique_ptr<Stream<remote::WatchIntfResponse>> watch(std::string const& name = {}) {
      remote::WatchIntfRequest request;
      request.set_notify_ready(true);
      if (name.empty()) {
         request.set_all(true);
      } else {
         *request.mutable_intf_id() = intf(name);
      }
      auto stream = std::make_unique<Stream<remote::WatchIntfResponse>>(*stub, &Stub::watch, request);
      EXPECT_EQ(wordOf(stream->next()), "ready");
      return stream;
   }

   std::unique_ptr<Stub> stub;
};

TEST_F(IntfServiceTest, AttributesAreReadAndSet) {
   EXPECT_TRUE(ask(*stub, &Stub::exists, about<remote::IntfExistsRequest>("Ethernet1")).response.exists());
   EXPECT_FALSE(ask(*stub, &Stub::exists, about<remote::IntfExistsRequest>("Ethernet99")).response.exists());
   EXPECT_EQ(ask(*stub, &Stub::kernel_intf_name, about<remote::KernelIntfNameRequest>("Ethernet3"))
                .response.kernel_intf_name(),
             "eth3");
   remote::VelmIntfNameRequest kernel;
   kernel.set_kernel_name("eth3");
   EXPECT_EQ(ask(*stub, &Stub::velm_intf_name, kernel).response.intf_id().name(), "Ethernet3");
   EXPECT_EQ(ask(*stub, &Stub::oper_status, about<remote::OperStatusRequest>("Ethernet1")).response.oper_status(),
             remote::OPER_STATUS_UP);
   EXPECT_TRUE(ask(*stub, &Stub::admin_enabled_is, adminEnabledIs("Ethernet1", false)).status.ok());
   EXPECT_FALSE(ask(*stub, &Stub::admin_enabled, about<remote::AdminEnabledRequest>("Ethernet1")).response.enabled());
   EXPECT_EQ(ask(*stub, &Stub::oper_status, about<remote::OperStatusRequest>("Ethernet1")).response.oper_status(),
             remote::OPER_STATUS_DOWN);
   auto describe = about<remote::DescriptionIsRequest>("Ethernet1");
   describe.set_description("to the north");
   EXPECT_TRUE(ask(*stub, &Stub::description_is, describe).status.ok());
   EXPECT_EQ(ask(*stub, &Stub::description, about<remote::DescriptionRequest>("Ethernet1")).response.description(),
             "to the north");
}

TEST_F(IntfServiceTest, BadNamesAndRefusalsHaveTheirStatus) {
   auto const bad = ask(*stub, &Stub::exists, about<remote::IntfExistsRequest>("Ethernt1"));
   EXPECT_THAT(bad, Fails(grpc::StatusCode::INVALID_ARGUMENT, "'Ethernt1' is not an interface name"));
   auto const unknown = ask(*stub, &Stub::admin_enabled_is, adminEnabledIs("Ethernet99", true));
   EXPECT_EQ(unknown.status.error_code(), grpc::StatusCode::FAILED_PRECONDITION);
   EXPECT_THAT(unknown.status.error_message(), HasSubstr("Ethernet99"));
   world({"simulate fail intf_mgr.description error broken"});
   EXPECT_THAT(ask(*stub, &Stub::description, remote::DescriptionRequest()),
               Fails(grpc::StatusCode::INTERNAL, "broken"));
   EXPECT_FALSE(ask(*stub, &Stub::exists, remote::IntfExistsRequest()).response.exists());  // absent is the empty name
}

TEST_F(IntfServiceTest, ABulkStopsAtItsFirstBadElement) {
   remote::BulkAdminEnabledIsRequest request;
   for (auto const* name : {"Ethernet1", "Ethernt2", "Ethernet3"})
      *request.add_requests() = adminEnabledIs(name, false);
   auto const answer = ask(*stub, &Stub::bulk_admin_enabled_is, request);
   EXPECT_TRUE(answer.status.ok());
   EXPECT_EQ(answer.response.count(), 1);
   EXPECT_EQ(answer.response.status().code(), remote::RPC_STATUS_CODE_INVALID_ARGUMENT);
   EXPECT_EQ(answer.response.status().error_string(), "'Ethernt2' is not an interface name");
   auto const enabled = [&](char const* name) {
      return ask(*stub, &Stub::admin_enabled, about<remote::AdminEnabledRequest>(name)).response.enabled();
   };
   EXPECT_FALSE(enabled("Ethernet1"));
   EXPECT_TRUE(enabled("Ethernet3"));
}

TEST_F(IntfServiceTest, BulkDescriptionsAreServedOnce) {
   remote::BulkDescriptionIsRequest request;
   auto& element = *request.add_requests() = about<remote::DescriptionIsRequest>("Ethernet1");
   element.set_description("once");
   auto const first = ask(*stub, &Stub::bulk_description_is, request);
   EXPECT_TRUE(first.status.ok());
   EXPECT_EQ(first.response.count(), 1);
   EXPECT_EQ(ask(*stub, &Stub::description, about<remote::DescriptionRequest>("Ethernet1")).response.description(),
             "once");
   auto const second = ask(*stub, &Stub::bulk_description_is, request, std::chrono::milliseconds(200));
   EXPECT_EQ(second.status.error_code(), grpc::StatusCode::DEADLINE_EXCEEDED);
   for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(ask(*stub, &Stub::bulk_admin_enabled_is, remote::BulkAdminEnabledIsRequest()).status.ok());
   }
}

TEST_F(IntfServiceTest, AllInterfacesAreStreamedInOrder) {
   Stream stream(*stub, &Stub::intfs, remote::IntfsRequest());
   auto const all = stream.rest();
   EXPECT_TRUE(stream.finish().ok());
   ASSERT_EQ(all.size(), 33);
   EXPECT_EQ(all[9].intf_id().name(), "Ethernet10");
   EXPECT_EQ(all[32].intf_id().name(), "Management1");
   world({"simulate fail intf_mgr.intf_iter unsupported_error \"no table\""});
   Stream failing(*stub, &Stub::intfs, remote::IntfsRequest());
   EXPECT_THAT(failing.rest(), IsEmpty());
   EXPECT_EQ(failing.finish().error_code(), grpc::StatusCode::UNIMPLEMENTED);
}

TEST_F(IntfServiceTest, AWatchBringsTheLastEventOfEachInterfaceInABurst) {
   auto const all = watch();
   auto const one = watch("Ethernet2");
   world({"interface Ethernet1", "description a", "shutdown", "interface Ethernet2", "shutdown", "no shutdown",
          "shutdown", "description b"});
   EXPECT_EQ(wordOf(one->next()), "Ethernet2 is b");
   EXPECT_THAT((std::vector{wordOf(all->next()), wordOf(all->next())}),
               ::testing::UnorderedElementsAre("Ethernet1 oper 2", "Ethernet2 is b"));
   world({"interface Loopback0", "interface Port-Channel1", "interface Ethernet3", "shutdown"});
   EXPECT_THAT((std::vector{wordOf(all->next()), wordOf(all->next()), wordOf(all->next())}),
               ::testing::UnorderedElementsAre("Loopback0 oper 1", "Port-Channel1 lifecycle 1", "Ethernet3 oper 2"));
   world({"simulate interface Ethernet2 delete"});
   EXPECT_EQ(wordOf(one->next()), "Ethernet2 lifecycle 2");
   EXPECT_EQ(wordOf(all->next()), "Ethernet2 lifecycle 2");
   world({"interface Ethernet4", "shutdown"});
   EXPECT_EQ(wordOf(all->next()), "Ethernet4 oper 2");
   world({"simulate interface Ethernet4 oper up", "interface Ethernet5", "description c"});
   EXPECT_EQ(wordOf(all->next()), "Ethernet5 is c");  // nothing of a link that stays down
}

TEST_F(IntfServiceTest, WatchingIsOnFromTheFirstSubscriberToTheLast) {
   EXPECT_THAT(watches("intf_handler"), IsEmpty());
   auto first = watch();
   auto second = watch("Ethernet1");
   EXPECT_THAT(watches("intf_handler"), ElementsAre("all"));
   first.reset();
   EXPECT_THAT(watches("intf_handler"), ElementsAre("all"));
   second.reset();
   EXPECT_TRUE(eventually([&] { return watches("intf_handler").empty(); }));
   // A call that selects nothing is no subscriber, and its end takes nothing away.
   remote::WatchIntfRequest nothing;
   nothing.set_notify_ready(true);
   nothing.set_all(false);
   auto idle = std::make_unique<Stream<remote::WatchIntfResponse>>(*stub, &Stub::watch, nothing);
   EXPECT_EQ(wordOf(idle->next()), "ready");
   EXPECT_THAT(watches("intf_handler"), IsEmpty());
   auto const third = watch();
   world({"interface Ethernet1", "shutdown"});
   EXPECT_EQ(wordOf(third->next()), "Ethernet1 oper 2");
   idle->cancel();
   EXPECT_FALSE(idle->next());
   world({"interface Ethernet1", "description a"});
   EXPECT_EQ(wordOf(third->next()), "Ethernet1 is a");
}

TEST_F(IntfServiceTest, AReaderThatDiesWithAWriteInFlightLeavesAtTheNextPublish) {
   auto stuck = watch();
   auto const brisk = watch("Ethernet1");
   std::string const large(200'000, 'x');
   for (int i = 0; i < 20; ++i) {
      world({"interface Ethernet1", fmt::format("description \"{} {}\"", i, large)});
      ASSERT_EQ(wordOf(brisk->next()), fmt::format("Ethernet1 is {} {}", i, large));
   }
   stuck.reset();
   brisk->cancel();
   EXPECT_FALSE(brisk->next());
   EXPECT_TRUE(eventually([&] {
      world({"interface Ethernet1", "no description", "description b"});
      return watches("intf_handler").empty();
   }));
}

TEST_F(IntfServiceTest, CountersAndRatesAreMirrored) {
   auto const counters = remote::IntfCounterMgrService::NewStub(channel());
   using Counters = remote::IntfCounterMgrService::Stub;
   world({"simulate interface Ethernet1 counter in_errors 7", "simulate interface Ethernet1 counter out_octets 9",
          "simulate interface Ethernet1 counter in_bits_rate 5"});
   auto const read = ask(*counters, &Counters::intf_counters, about<remote::IntfCountersRequest>("Ethernet1")).response;
   EXPECT_EQ(read.counters().in_errors(), 7);
   EXPECT_EQ(read.counters().out_octets(), 9);
   EXPECT_EQ(read.counters().in_octets(), 0);
   EXPECT_GT(read.counters().sample_time(), 0);
   auto const rates =
      ask(*counters, &Counters::intf_traffic_rates, about<remote::IntfTrafficRatesRequest>("Ethernet1"));
   EXPECT_EQ(rates.response.rates().in_bits_rate(), 5);
   auto const unknown = ask(*counters, &Counters::intf_counters, about<remote::IntfCountersRequest>("Ethernet99"));
   EXPECT_TRUE(unknown.status.ok());
   EXPECT_EQ(unknown.response.counters().out_octets(), 0);
   EXPECT_EQ(ask(*counters, &Counters::intf_counters, about<remote::IntfCountersRequest>("x")).status.error_code(),
             grpc::StatusCode::INVALID_ARGUMENT);
}

}  // namespace
}  // namespace VelmSdkRpc
