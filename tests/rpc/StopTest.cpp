#include <gmock/gmock.h>

#include <future>
#include <list>

#include "platform/velm/sdk_lock.h"
#include "tests/rpc/TinyServer.h"

namespace VelmSdkRpc::Test {
namespace {

TEST(StopTest, BeforeRunOrTwiceIsHarmless) {
   TinyServer server;
   server.stop();
   server.start();
   server.join();
   server.stop();
   EXPECT_EQ(server.service().handlerCount(), 0);
}

TEST(StopTest, AtAnyMomentOfTheStartRunReturns) {
   for (std::size_t i = 0; i < 56; ++i) {
      TinyServer server;
      auto const client = server.client();
      CallContext context;
      tiny::EchoRequest const request;
      tiny::EchoResponse response;
      std::promise<void> answered;
      client->async()->echo(&context, &request, &response, [&](grpc::Status const&) { answered.set_value(); });
      server.start();
      // From the first instruction of the thread over each handler armed to a loop that has turned for a while.
      auto const armed = i % (TinyService::methods + 1);
      EXPECT_TRUE(eventually([&] { return server.service().handlerCount() >= armed; }));
      for (std::size_t spin = 0; spin < i * 10; ++spin) std::this_thread::yield();
      server.stopAndJoin();
      EXPECT_EQ(server.service().handlerCount(), 0);
      context.TryCancel();
      answered.get_future().wait();
   }
}

TEST(StopTest, OpenStreamsAreEndedWithTheirWritesInFlight) {
   TinyServer server;
   server.start();
   auto const client = server.client();
   struct Stream {
      CallContext context;
      std::unique_ptr<grpc::ClientReader<tiny::EchoResponse>> reader;
   };
   std::list<Stream> streams(20);
   std::size_t number = 0;
   for (auto& stream : streams) {
      bool const floods = number++ % 2 == 0;
      stream.reader = floods ? client->flood(&stream.context, {}) : client->hold(&stream.context, {});
   }
   ASSERT_TRUE(server.settles(streams.size()));  // nobody reads, so the floods are stuck in their first Writes
   server.stopAndJoin();
   EXPECT_EQ(server.service().handlerCount(), 0);
   for (auto& stream : streams) {
      tiny::EchoResponse response;
      while (stream.reader->Read(&response)) {
      }
      EXPECT_FALSE(stream.reader->Finish().ok());
   }
}

TEST(StopTest, ReturnsWhileACallIsAtWorkAndEndsTheCallsThatWait) {
   std::promise<void> entered;
   std::promise<void> released;
   auto service = std::make_unique<TinyService>();
   service->onText = [&](std::string const& text) {
      entered.set_value();  // twice would throw: the calls that wait must not be processed
      released.get_future().wait();
      return text;
   };
   TinyServer server(std::move(service));
   server.start();
   auto const client = server.client();
   std::vector<std::future<Answer>> answers;
   for (int i = 0; i < 5; ++i) answers.push_back(std::async(std::launch::async, [&] { return echo(*client); }));
   entered.get_future().wait();
   server.stop();
   released.set_value();
   server.join();
   for (auto& answer : answers) EXPECT_FALSE(answer.get().status.ok());
}

TEST(StopTest, AnAnswerOnItsWayStillLeavesAndTheSdkLockIsNotAskedFor) {
   TinyServer* running = nullptr;
   std::future<void> stop;
   auto service = std::make_unique<TinyService>();
   service->onText = [&](std::string const& text) {
      EXPECT_TRUE(velm::sdk_scoped_lock::held());
      stop = std::async(std::launch::async, [&] { running->stop(); });
      EXPECT_TRUE(eventually([&] { return running->service().stopping(); }));
      return text;
   };
   TinyServer server(std::move(service));
   running = &server;
   server.start();
   EXPECT_EQ(echo(*server.client()).text, "hello");
   server.join();  // its thread wrote `stop`
   stop.get();
}

}  // namespace
}  // namespace VelmSdkRpc::Test
