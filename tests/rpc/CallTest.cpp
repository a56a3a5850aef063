#include <gmock/gmock.h>
#include <grpcpp/alarm.h>

#include <array>
#include <deque>
#include <future>
#include <latch>
#include <mutex>
#include <new>
#include <stdexcept>

#include "platform/velm/errors.h"
#include "tests/rpc/TinyServer.h"
#include "tests/support/RawCall.h"

namespace VelmSdkRpc::Test {
namespace {

class CallTest : public testing::Test {
 protected:
   CallTest() { server_.start(); }

   TinyServer server_;
   std::unique_ptr<tiny::Tiny::Stub> client_ = server_.client();
};

struct ErrorRow {
   char const* name;
   std::function<void()> raise;
   grpc::StatusCode code;
   std::string text;
};

class ErrorTest : public testing::TestWithParam<ErrorRow> {};

std::unique_ptr<TinyService> serviceThat(std::function<std::string(std::string const&)> onText) {
   auto service = std::make_unique<TinyService>();
   service->onText = std::move(onText);
   return service;
}

TEST_P(ErrorTest, UnaryAndBulkReportTheSameCodeAndText) {
   TinyServer server(serviceThat([](std::string const& text) {
      GetParam().raise();
      return text;
   }));
   server.start();
   auto const client = server.client();

   auto const unary = echo(*client).status;
   EXPECT_EQ(unary.error_code(), GetParam().code);
   EXPECT_EQ(unary.error_message(), GetParam().text);
   EXPECT_TRUE(unary.error_details().empty());

   CallContext context;
   tiny::BulkEchoRequest request;
   request.add_requests();
   tiny::BulkEchoResponse response;
   EXPECT_TRUE(client->bulk_echo(&context, request, &response).ok());
   EXPECT_EQ(static_cast<int>(response.status().code()), GetParam().code);
   EXPECT_EQ(response.status().error_string(), GetParam().text);
   EXPECT_EQ(response.count(), 0);
   EXPECT_TRUE(server.settles());
}

template <class Error>
void raise() {
   throw Error("vlan 9999");
}

std::string euros(int count) {
   std::string text;
   while (count-- > 0) text += "\u20ac";
   return text;
}

INSTANTIATE_TEST_SUITE_P(
   StatusTable, ErrorTest,
   testing::Values(
      ErrorRow{"range", raise<velm::invalid_range_error>, grpc::StatusCode::OUT_OF_RANGE, "vlan 9999"},
      ErrorRow{"argument", raise<velm::invalid_argument_error>, grpc::StatusCode::INVALID_ARGUMENT, "vlan 9999"},
      ErrorRow{"unconfigured", raise<velm::unconfigured_agent_error>, grpc::StatusCode::FAILED_PRECONDITION,
               "vlan 9999"},
      ErrorRow{"configuration", raise<velm::configuration_error>, grpc::StatusCode::FAILED_PRECONDITION, "vlan 9999"},
      ErrorRow{"unsupported", raise<velm::unsupported_error>, grpc::StatusCode::UNIMPLEMENTED, "vlan 9999"},
      ErrorRow{"no_lock", raise<velm::no_scoped_lock_obtained_error>, grpc::StatusCode::INTERNAL, "vlan 9999"},
      ErrorRow{"sdk", raise<velm::error>, grpc::StatusCode::INTERNAL, "vlan 9999"},
      ErrorRow{"standard", raise<std::runtime_error>, grpc::StatusCode::UNKNOWN, "vlan 9999"},
      ErrorRow{"memory", [] { throw std::bad_alloc(); }, grpc::StatusCode::UNKNOWN, "std::bad_alloc"},
      ErrorRow{"long", [] { throw velm::configuration_error(euros(9000)); }, grpc::StatusCode::FAILED_PRECONDITION,
               euros(682) + "\u2026 (24954 bytes more)"}),
   [](auto const& row) { return row.param.name; });

TEST(CallDeathTest, AnExceptionOutsideTheStandardFamilyEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_DEATH(
      {
         TinyServer server(serviceThat([](std::string const&) -> std::string { throw 7; }));
         server.start();
         echo(*server.client());
      },
      "terminate called after throwing an instance of 'int'");
}

TEST(BulkTest, StopsAtTheFirstBadElementAndKeepsWhatWentBefore) {
   struct Row {
      std::vector<std::string> elements;
      std::vector<std::string> applied;
      int code;
   };
   std::array const rows{Row{{"a", "bad", "c"}, {"a"}, 11}, Row{{"a", "b", "c"}, {"a", "b", "c"}, 0}, Row{{}, {}, 0}};
   std::mutex mutex;
   std::vector<std::string> applied;  // guarded by mutex
   TinyServer server(serviceThat([&](std::string const& text) {
      if (text == "bad") throw velm::invalid_range_error(text);
      std::lock_guard const lock(mutex);
      applied.push_back(text);
      return text;
   }));
   server.start();
   auto const client = server.client();
   for (auto const& row : rows) {
      CallContext context;
      tiny::BulkEchoRequest request;
      for (auto const& text : row.elements) request.add_requests()->set_text(text);
      tiny::BulkEchoResponse response;
      ASSERT_TRUE(client->bulk_echo(&context, request, &response).ok());
      std::lock_guard const lock(mutex);
      EXPECT_EQ(std::exchange(applied, {}), row.applied);
      EXPECT_EQ(response.count(), row.applied.size());
      EXPECT_TRUE(response.has_status());
      EXPECT_EQ(static_cast<int>(response.status().code()), row.code);
      EXPECT_EQ(response.status().error_string(), row.code == 0 ? "" : "bad");
   }
}

// Tells, as an answer leaves, whether the server thread still holds the SDK lock.
class LockSpy : public grpc::experimental::Interceptor, public grpc::experimental::ServerInterceptorFactoryInterface {
 public:
   explicit LockSpy(std::atomic<int>& held) : held_(held) {}
   grpc::experimental::Interceptor* CreateServerInterceptor(grpc::experimental::ServerRpcInfo*) override {
      return new LockSpy(held_);
   }
   void Intercept(grpc::experimental::InterceptorBatchMethods* methods) override {
      using Hook = grpc::experimental::InterceptionHookPoints;
      if (methods->QueryInterceptionHookPoint(Hook::PRE_SEND_STATUS)) held_ = velm::sdk_scoped_lock::held() ? 1 : 0;
      methods->Proceed();
   }

 private:
   std::atomic<int>& held_;
};

TEST(LockTest, AUnaryAnswerLeavesWithoutTheSdkLockAndABulkAnswerUnderIt) {
   std::atomic<int> heldInCall{-1};
   std::atomic<int> heldAtFinish{-1};
   auto service = serviceThat([&](std::string const& text) {
      heldInCall = velm::sdk_scoped_lock::held() ? 1 : 0;
      return text;
   });
   service->onRegister = [&](grpc::ServerBuilder& builder) {
      std::vector<std::unique_ptr<grpc::experimental::ServerInterceptorFactoryInterface>> factories;
      factories.push_back(std::make_unique<LockSpy>(heldAtFinish));
      builder.experimental().SetInterceptorCreators(std::move(factories));
   };
   TinyServer server(std::move(service));
   server.start();
   auto const client = server.client();

   EXPECT_TRUE(echo(*client).status.ok());
   EXPECT_EQ(heldInCall, 1);
   EXPECT_EQ(heldAtFinish, 0);

   CallContext context;
   tiny::BulkEchoResponse response;
   EXPECT_TRUE(client->bulk_echo(&context, {}, &response).ok());
   EXPECT_EQ(heldAtFinish, 1);
}

TEST_F(CallTest, ManyCallsAtOnceAreAllAnsweredAndLeaveOneHandlerPerMethod) {
   struct Call {
      CallContext context;
      tiny::EchoRequest request;
      tiny::EchoResponse response;
      grpc::Status status;
   };
   constexpr int calls = 10'000;
   std::latch open(calls);
   std::deque<Call> all(calls);
   int number = 0;
   for (auto& call : all) {
      call.request.set_text(std::to_string(number++));
      auto const done = [&](grpc::Status const& status) {
         call.status = status;
         open.count_down();
      };
      if (number % 2 == 0) {
         client_->async()->echo(&call.context, &call.request, &call.response, done);
      } else {
         client_->async()->callback(&call.context, &call.request, &call.response, done);
      }
   }
   open.wait();
   for (auto const& call : all) {
      ASSERT_TRUE(call.status.ok()) << call.status.error_message();
      ASSERT_EQ(call.response.text(), call.request.text());
   }
   EXPECT_TRUE(server_.settles());
}

TEST_F(CallTest, AnUnparsableRequestFailsAloneAndItsMethodStaysServed) {
   for (int i = 0; i < 3; ++i) {
      auto const status = rawCall(server_.channel(), "/velm.tiny.Tiny/echo", "\xff\xff\xff");
      EXPECT_EQ(status.error_code(), grpc::StatusCode::INTERNAL);
      EXPECT_EQ(status.error_message(), "Unable to parse request");
   }
   EXPECT_EQ(echo(*client_).text, "hello");
   EXPECT_TRUE(server_.settles());
}

TEST_F(CallTest, WhatIsNotServedIsRefusedAndNotLeftWaiting) {
   for (auto const* method : {"/velm.tiny.Tiny/nope", "/velm.tiny.Nobody/echo"}) {
      EXPECT_EQ(rawCall(server_.channel(), method, "").error_code(), grpc::StatusCode::UNIMPLEMENTED) << method;
   }
   EXPECT_TRUE(server_.settles());
}

TEST(VanishingClientTest, ItsCallIsErasedAndTheNextOneIsServed) {
   std::promise<void> entered;
   std::promise<void> released;
   TinyServer server(serviceThat([&](std::string const& text) {
      if (text != "slow") return text;
      entered.set_value();
      released.get_future().wait();
      return text;
   }));
   server.start();
   auto const client = server.client();
   CallContext context;
   std::thread vanishing([&] {
      tiny::EchoRequest request;
      request.set_text("slow");
      tiny::EchoResponse response;
      EXPECT_EQ(client->echo(&context, request, &response).error_code(), grpc::StatusCode::CANCELLED);
   });
   entered.get_future().wait();
   context.TryCancel();
   vanishing.join();
   released.set_value();
   EXPECT_EQ(echo(*client).text, "hello");
   EXPECT_TRUE(server.settles());
}

TEST_F(CallTest, AStreamWhoseClientVanishesInMidWriteIsErased) {
   for (int i = 0; i < 50; ++i) {
      CallContext context;
      auto const reader = client_->flood(&context, {});
      tiny::EchoResponse response;
      ASSERT_TRUE(reader->Read(&response));
      context.TryCancel();
      reader->Finish();
   }
   EXPECT_TRUE(server_.settles());
}

TEST_F(CallTest, AnEventOfAHandlerThatHasGoneIsDropped) {
   ASSERT_TRUE(echo(*client_).status.ok());
   ASSERT_TRUE(server_.settles());
   auto* const queue = server_.service().completionQueue();
   grpc::Alarm ofErased;
   grpc::Alarm ofNoService;
   ofErased.Set(queue, std::chrono::system_clock::now(), makeOpaqueId(1, 0));  // the first handler served that call
   ofNoService.Set(queue, std::chrono::system_clock::now(), makeOpaqueId(1, 200));
   EXPECT_TRUE(echo(*client_).status.ok());
   EXPECT_FALSE(server_.service().withHandler(makeOpaqueId(1, 0), [](RequestHandler&) { FAIL(); }));
   server_.stopAndJoin();  // not before both have come out of the queue
}

}  // namespace
}  // namespace VelmSdkRpc::Test
