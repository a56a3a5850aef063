// Streams at each step of their lives, through a real channel: the test is the main loop that publishes.
#include <gmock/gmock.h>

#include <future>
#include <list>

#include "tests/rpc/TinyServer.h"

namespace VelmSdkRpc::Test {
namespace {

using ::testing::IsEmpty;
using Stub = tiny::Tiny::Stub;

/// A client's end of a watch.
class Watcher {
 public:
   explicit Watcher(Stub& client, std::string const& key = {}, bool notifyReady = true) {
      tiny::WatchRequest request;
      request.set_notify_ready(notifyReady);
      request.set_key(key);
      reader_ = client.watch(&context_, request);
   }

   /// The next message: its key and text, or "ready"; "end" at the end of the stream.
   std::string next() {
      tiny::WatchResponse response;
      if (!reader_->Read(&response)) return "end";
      return response.ready() ? "ready" + response.key() + response.text() : response.key() + ' ' + response.text();
   }
   void cancel() { context_.TryCancel(); }
   grpc::Status finish() { return reader_->Finish(); }
   grpc::Status vanish() {
      cancel();
      return finish();
   }

 private:
   CallContext context_;
   std::unique_ptr<grpc::ClientReader<tiny::WatchResponse>> reader_;
};

class StreamTest : public ::testing::Test {
 protected:
   StreamTest() : client(server.client()) { server.start(); }

   TinyService& service() { return server.service(); }
   bool watching() { return service().starts > service().stops; }

   /// Holds the server thread up in a call for as long as it lives.
   class HeldUp {
    public:
      explicit HeldUp(StreamTest& test) {
         test.service().onCallback([this] {
            entered_.set_value();
            released_.get_future().wait();
         });
         call_ = std::thread([&client = *test.client] {
            CallContext context;
            tiny::EchoResponse response;
            EXPECT_TRUE(client.callback(&context, {}, &response).ok());
         });
         entered_.get_future().wait();
      }
      ~HeldUp() {
         released_.set_value();
         call_.join();
      }

    private:
      std::promise<void> entered_;
      std::promise<void> released_;
      std::thread call_;
   };

   TinyServer server;
   std::unique_ptr<Stub> client;
};

class WatchTest : public StreamTest {
 protected:
   std::size_t subscribers() { return service().subscriptions().size(); }
};

TEST_F(WatchTest, TheMarkerComesFirstAndThenWhatTheFilterLetsThrough) {
   Watcher all(*client);
   Watcher one(*client, "a");
   EXPECT_EQ(all.next(), "ready");
   EXPECT_EQ(one.next(), "ready");
   Watcher quiet(*client, "", false);
   ASSERT_TRUE(eventually([&] { return subscribers() == 3; }));
   service().publish("b", "1");
   service().publish("a", "2");
   EXPECT_EQ(all.next(), "b 1");
   EXPECT_EQ(all.next(), "a 2");
   EXPECT_EQ(one.next(), "a 2");
   EXPECT_EQ(quiet.next(), "b 1");
   for (auto* watcher : {&all, &one, &quiet}) EXPECT_EQ(watcher->vanish().error_code(), grpc::StatusCode::CANCELLED);
   EXPECT_TRUE(server.settles());
   EXPECT_EQ(service().starts, 1);
   EXPECT_EQ(service().stops, 1);  // at once: the streams were idle
}

TEST_F(WatchTest, TheMarkerComesFirstEvenIfAnEventWasQueuedBeforeIt) {
   service().onWatching = [&] { service().publish("a", "early"); };
   Watcher watcher(*client);
   EXPECT_EQ(watcher.next(), "ready");
   EXPECT_EQ(watcher.next(), "a early");
   watcher.vanish();
   EXPECT_TRUE(server.settles());
}

TEST_F(WatchTest, EventsOutrunningTheReaderAllArriveInOrder) {
   Watcher slow(*client);
   Watcher brisk(*client);
   EXPECT_EQ(brisk.next(), "ready");
   EXPECT_EQ(slow.next(), "ready");
   std::string const padding(10'000, 'x');
   constexpr int events = 500;
   for (int i = 0; i < events; ++i) {
      service().publish(std::to_string(i), padding);
      ASSERT_EQ(brisk.next(), std::to_string(i) + ' ' + padding);
   }
   for (int i = 0; i < events; ++i) ASSERT_EQ(slow.next(), std::to_string(i) + ' ' + padding);
   slow.vanish();
   brisk.vanish();
   EXPECT_TRUE(server.settles());
}

TEST_F(WatchTest, AnEndWithTheAlarmOutstandingIsOneEnd) {
   for (int i = 0; i < 50; ++i) {
      Watcher watcher(*client);
      ASSERT_EQ(watcher.next(), "ready");
      {
         HeldUp const held(*this);
         if (i % 2 == 0) service().publish("a", "1");
         watcher.vanish();
         if (i % 2 != 0) service().publish("a", "1");
         service().publish("a", "2");
      }
      ASSERT_TRUE(server.settles());
      service().publish("a", "late");  // the alarm may have led to a Write that failed
      ASSERT_EQ(subscribers(), 0);
   }
   EXPECT_EQ(service().starts, 50);
   EXPECT_EQ(service().stops, 50);
}

TEST_F(WatchTest, AnEndWithAWriteInFlightDropsTheQueueAndTheNextPublishTheSubscription) {
   std::string const large(1'000'000, 'x');
   for (int i = 0; i < 20; ++i) {
      Watcher watcher(*client);
      ASSERT_EQ(watcher.next(), "ready");
      for (int n = 0; n < 5; ++n) service().publish("a", large);  // no window has room for so much
      watcher.vanish();
      ASSERT_TRUE(server.settles());
      service().publish("a", "late");
      ASSERT_EQ(subscribers(), 0);
   }
   EXPECT_EQ(service().starts, 20);
   EXPECT_EQ(service().stops, 20);
}

TEST_F(WatchTest, AStopUnderAStormEndsAllOfThem) {
   std::list<Watcher> watchers;
   for (int i = 0; i < 20; ++i) {
      watchers.emplace_back(*client);
      ASSERT_EQ(watchers.back().next(), "ready");
   }
   for (int i = 0; i < 2000; ++i) {
      service().publish("a", std::string(1000, 'x'));
      if (i == 1000) server.stop();  // on the thread that publishes, which goes on
   }
   server.join();
   EXPECT_EQ(service().handlerCount(), 0);
   for (auto& watcher : watchers) EXPECT_FALSE(watcher.vanish().ok());
}

/// The numbers that an iterator streams, and how the call ends.
struct Streamed {
   std::vector<std::uint64_t> numbers;
   grpc::Status status;
};
Streamed items(Stub& client, std::uint64_t count, std::string const& error = {}) {
   CallContext context;
   tiny::ItemsRequest request;
   request.set_count(count);
   request.set_error(error);
   Streamed streamed;
   auto const reader = client.items(&context, request);
   for (tiny::ItemsResponse response; reader->Read(&response);) streamed.numbers.push_back(response.number());
   streamed.status = reader->Finish();
   return streamed;
}

TEST_F(StreamTest, AnIteratorStreamsEachElementOnceAndEnds) {
   for (std::uint64_t const count : {0, 1, 2, 10'000}) {
      service().steps = 0;
      auto const streamed = items(*client, count);
      EXPECT_TRUE(streamed.status.ok());
      ASSERT_EQ(streamed.numbers.size(), count);
      for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(streamed.numbers[i], i);
      EXPECT_EQ(service().steps, count);  // each under the SDK lock
   }
   EXPECT_TRUE(server.settles());
}

TEST_F(StreamTest, AnIteratorThatCannotBeHadFailsTheCall) {
   auto const streamed = items(*client, 3, "no table");
   EXPECT_THAT(streamed.numbers, IsEmpty());
   EXPECT_EQ(streamed.status.error_code(), grpc::StatusCode::FAILED_PRECONDITION);
   EXPECT_EQ(streamed.status.error_message(), "no table");
   EXPECT_TRUE(server.settles());
}

TEST_F(StreamTest, AnIteratorWhoseClientGoesIsNotWalkedToItsEnd) {
   constexpr std::uint64_t endless = 1ULL << 60U;
   for (int i = 0; i < 50; ++i) {
      CallContext context;
      tiny::ItemsRequest request;
      request.set_count(endless);
      auto const reader = client->items(&context, request);
      tiny::ItemsResponse response;
      ASSERT_TRUE(reader->Read(&response));
      context.TryCancel();
      EXPECT_FALSE(reader->Finish().ok());
   }
   EXPECT_TRUE(server.settles());
}

TEST_F(StreamTest, AReaderThatNeverReadsHoldsNobodyUp) {
   CallContext context;
   tiny::ItemsRequest request;
   request.set_count(1ULL << 60U);
   auto const stuck = client->items(&context, request);
   ASSERT_EQ(items(*client, 1000).numbers.size(), 1000);
   EXPECT_EQ(echo(*client).text, "hello");
   context.TryCancel();
   stuck->Finish();
   EXPECT_TRUE(server.settles());
}

}  // namespace
}  // namespace VelmSdkRpc::Test
