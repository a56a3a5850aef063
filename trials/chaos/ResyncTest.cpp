// Resyncs whose client dies on the way, and resyncs under storms.
#include <fmt/format.h>

#include <list>
#include <mutex>

#include "proto/remote/bgp_path.grpc.pb.h"
#include "proto/remote/intf.grpc.pb.h"
#include "proto/remote/ip_route.grpc.pb.h"
#include "tests/support/Mirror.h"
#include "trials/chaos/ChaosTest.h"
#include "trials/storm/Caller.h"

namespace VelmSdkRpc::chaos {
namespace {

namespace remote = velm::remote;

class ResyncTest : public ChaosTest {
 protected:
   /// Opens a resync, repeats a part of what is held beside news, and goes with a request on its way.
   void dieInResync() {
      ASSERT_THAT(*controller().resync(pb::RESYNC_START), Succeeded());
      auto const batches = Controller::batchesOf(controller().model.held(), 1 + upTo(10));
      for (auto const& batch : batches) {
         if (oneIn(static_cast<int>(batches.size()))) break;
         ASSERT_TRUE(oneIn(2) || controller().send(batch));
         ASSERT_TRUE(!oneIn(4) || controller().sendAny(5));
      }
      Batch last;
      for (int left = 1 + upTo(500); left > 0; --left) {
         last.push_back(routeMsg(fmt::format("10.{}.0.0/16", upTo(200)), oneIn(3) ? "" : "late", tag));
      }
      controller().sendAndVanish(last);
   }
   // The open batch was carried out or never came.
   void settle() {
      expectExplained();
      auto done = controller().model;
      for (auto const& element : controller().open) done.apply(element);
      Tables others;
      for (std::size_t i = 1; i < controllers().size(); ++i) others.merge(controller(i).model.tables());
      auto expected = done.tables();
      expected.merge(others);
      if (differenceOf(tablesOf(console()), expected).empty()) controller().model = done;
      controller().open.clear();
      expectExact();
   }
};

TEST_F(ResyncTest, WhoeverFollowsAClientThatDiedInItsResyncGetsWhatItAsksFor) {
   for (unsigned round = 0; round < Scale::get().many(4, 100) && !HasFailure(); ++round) {
      SCOPED_TRACE(fmt::format("round {}", round));
      whileAllProgram(20, true, [&] { awaitAnswers(60); });
      for (int deaths = 1 + upTo(3); deaths > 0; --deaths) {
         dieInResync();
         settle();
      }
      if (oneIn(2)) {
         ASSERT_TRUE(controller().init());  // the next one takes over what is there
         ASSERT_TRUE(controller().sendAny(10));
         expectExact();
      }
      ASSERT_TRUE(controller().init());
      // The next one has a table of its own.
      for (auto& controller : controllers()) {
         Model own;
         for (auto const& [key, text] : controller->model.tables()) {
            if (!key.starts_with("pair ")) continue;
            pb::rpc_server_state_config_msg pair;
            pair.add_set()->set_key(key.substr(5));
            pair.mutable_set(0)->set_value(text);
            own.apply(pair);
         }
         for (int elements = upTo(60); elements > 0; --elements) {
            auto const element = controller->any.batch(1).front();
            if (!std::holds_alternative<pb::rpc_server_state_config_msg>(element)) own.apply(element);
         }
         own.endResync();
         controller->model = own;
      }
      ASSERT_TRUE(resync());
      expectExact();
   }
}

/// Hears of interfaces by their descriptions, which say when they were set, and of BGP paths.
class Watcher {
 public:
   using Clock = std::chrono::steady_clock;

   explicit Watcher(std::string const& address)
      : channel_(storm::connectTo(address)),
        intfs_(remote::IntfMgrService::NewStub(channel_)),
        paths_(remote::BgpPathMgrService::NewStub(channel_)) {
      remote::WatchIntfRequest intfs;
      intfs.set_all(true);
      intfs.set_notify_ready(true);
      remote::BgpPathWatchRequest paths;
      paths.set_all(true);
      paths.set_notify_ready(true);
      intfReader_ = intfs_->watch(&intfContext_, intfs);
      pathReader_ = paths_->watch(&pathContext_, paths);
      remote::WatchIntfResponse intf;
      remote::BgpPathWatchResponse path;
      EXPECT_TRUE(intfReader_->Read(&intf) && pathReader_->Read(&path));
      threads_.emplace_back([this] { readIntfs(); });
      threads_.emplace_back([this] { readPaths(); });
   }
   ~Watcher() {
      intfContext_.TryCancel();
      pathContext_.TryCancel();
      for (auto& thread : threads_) thread.join();
   }

   static std::string now() { return std::to_string(Clock::now().time_since_epoch().count()); }
   std::string description(std::string const& intf) {
      std::lock_guard const lock(mutex_);
      return descriptions_[intf];
   }
   Clock::time_point heardOf(std::string const& prefix) {
      std::lock_guard const lock(mutex_);
      return paths_heard_[prefix];
   }
   Latencies latencies() {
      std::lock_guard const lock(mutex_);
      return latencies_;
   }
   std::string ends() {
      std::lock_guard const lock(mutex_);
      return ends_;
   }

 private:
   void readIntfs() {
      remote::WatchIntfResponse event;
      while (intfReader_->Read(&event)) {
         if (!event.has_description()) continue;
         auto const raised = Clock::time_point(Clock::duration(std::stoll(event.description())));
         std::lock_guard const lock(mutex_);
         latencies_.add(std::chrono::duration<double, std::milli>(Clock::now() - raised).count());
         descriptions_[event.intf_id().name()] = event.description();
      }
      tell("interfaces", intfReader_->Finish());
   }
   void readPaths() {
      remote::BgpPathWatchResponse event;
      while (pathReader_->Read(&event)) {
         std::lock_guard const lock(mutex_);
         paths_heard_[event.path_key().prefix().ip_addr()] = Clock::now();
      }
      tell("paths", pathReader_->Finish());
   }
   void tell(char const* what, grpc::Status const& status) {
      std::lock_guard const lock(mutex_);
      ends_ += fmt::format("{}: status {} {}\n", what, static_cast<int>(status.error_code()), status.error_message());
   }

   std::shared_ptr<grpc::Channel> const channel_;
   std::unique_ptr<remote::IntfMgrService::Stub> const intfs_;
   std::unique_ptr<remote::BgpPathMgrService::Stub> const paths_;
   grpc::ClientContext intfContext_;
   grpc::ClientContext pathContext_;
   std::unique_ptr<grpc::ClientReader<remote::WatchIntfResponse>> intfReader_;
   std::unique_ptr<grpc::ClientReader<remote::BgpPathWatchResponse>> pathReader_;
   std::mutex mutex_;                                      // guards all below but the threads
   std::map<std::string, std::string> descriptions_;       // the last ones
   std::map<std::string, Clock::time_point> paths_heard_;  // by address
   Latencies latencies_;
   std::string ends_;  // of the watches
   std::list<std::thread> threads_;
};

/// Many routes, so that a resync takes its time.
class BigResyncTest : public ChaosTest {
 protected:
   static constexpr unsigned batchSize = 20000;
   static constexpr int paths = 200;
   unsigned const count = Scale::get().many(50'000, 1'000'000);

   static std::string addressOf(unsigned number) {
      return {static_cast<char>(20 + (number >> 24U)), static_cast<char>(number >> 16U),
              static_cast<char>(number >> 8U), static_cast<char>(number)};
   }
   bool stays(unsigned number) const { return ((number * 2654435761U + Scale::get().seed) >> 16U) % 2 == 0; }

   template <class Wanted>
   void setRoutes(Wanted&& wanted) {
      for (unsigned number = 0; number < count;) {
         pb::ip_route_bulk_msg bulk;
         for (; number < count && bulk.ip_route_size() < static_cast<int>(batchSize); ++number) {
            if (!wanted(number)) continue;
            auto& route = *bulk.add_ip_route();
            route.mutable_prefix()->set_addr(addressOf(number));
            route.mutable_prefix()->set_prefix_length(32);
            route.set_nexthop_group("big");
            route.set_tag(tag);
         }
         Context context(Scale::get().seconds(60));
         pb::rpc_status_bulk_msg answer;
         ASSERT_TRUE(native_->ip_route_bulk(&context, bulk, &answer).ok());
         ASSERT_EQ(answer.status_size(), bulk.ip_route_size());
         for (auto const& status : answer.status()) ASSERT_THAT(status, Succeeded());
      }
   }
   void purgeAll() {
      EXPECT_THAT(*controller().resync(pb::RESYNC_START), Succeeded());
      EXPECT_THAT(*controller().resync(pb::RESYNC_END), Succeeded());
   }
   template <class Wanted>
   void expectRoutes(Wanted&& wanted) {
      std::vector<bool> found(count, false);
      Context context(Scale::get().seconds(120));
      auto const reader = remote::IpRouteMgrService::NewStub(storm::connectTo(agent().address()));
      auto const stream = reader->ip_routes(&context, {});
      remote::IpRoutesResponse response;
      while (stream->Read(&response)) {
         auto const& bytes = response.ip_route().key().prefix().ip_addr();
         unsigned number = 0;
         for (unsigned char const byte : bytes) number = number << 8U | byte;
         number -= 20U << 24U;
         ASSERT_LT(number, count);
         found[number] = true;
      }
      ASSERT_TRUE(stream->Finish().ok());
      for (unsigned number = 0; number < count; ++number) ASSERT_EQ(found[number], wanted(number)) << number;
   }

   void TearDown() override {
      native_.reset();
      ChaosTest::TearDown();
   }

   void storm(int turn) {
      std::vector<std::string> commands;
      for (int port = 1; port <= 32; ++port) {
         // Of a port's events the last one overtakes the others.
         commands.push_back(fmt::format("simulate interface Ethernet{} oper {}", port, turn % 2 == 0 ? "up" : "down"));
         commands.push_back(fmt::format("interface Ethernet{}", port));
         commands.push_back("description " + Watcher::now());
      }
      for (int path = 0; path < paths; ++path) {
         commands.push_back(fmt::format("simulate bgp path 30.0.{}.0/24 peer 10.0.0.1 vrf default med {}", path, turn));
      }
      console().configure(commands);
   }

 private:
   std::unique_ptr<pb::velmsdk_service::Stub> native_ =
      pb::velmsdk_service::NewStub(storm::connectTo(agent().address()));
};

TEST_F(BigResyncTest, IsExactUnderStormsWhoseWatchersHearTheLastStates) {
   auto const all = [](unsigned) { return true; };
   setRoutes(all);
   purgeAll();
   memoryIsUsual();  // from here on the heap has its size
   setRoutes(all);
   std::list<Watcher> watchers;
   for (int i = 0; i < 3; ++i) watchers.emplace_back(agent().address());
   std::atomic<int> turn = 0;
   auto const begin = std::chrono::steady_clock::now();
   {
      Again const storms([&] {
         storm(++turn);
         return true;
      });
      ASSERT_THAT(*controller().resync(pb::RESYNC_START), Succeeded());
      setRoutes([&](unsigned number) { return stays(number); });
      ASSERT_THAT(*controller().resync(pb::RESYNC_END), Succeeded());
   }
   fmt::print("resync of {} routes under {} turns of events: {:.1f} s\n", count, turn.load(),
              std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
   expectRoutes([&](unsigned number) { return stays(number); });
   auto const behind = Watcher::Clock::now();
   storm(turn + 1 + turn % 2);  // the ports are up behind it
   storm(turn + 2 + turn % 2);
   std::vector<std::string> last;
   for (int port = 1; port <= 32; ++port) {
      auto const intfs = remote::IntfMgrService::NewStub(storm::connectTo(agent().address()));
      remote::DescriptionRequest request;
      request.mutable_intf_id()->set_name(fmt::format("Ethernet{}", port));
      last.push_back(ask(*intfs, &remote::IntfMgrService::Stub::description, request).response.description());
   }
   for (auto& watcher : watchers) {
      for (int port = 1; port <= 32; ++port) {
         auto const intf = fmt::format("Ethernet{}", port);
         EXPECT_TRUE(eventually([&] { return watcher.description(intf) == last[port - 1]; }, Scale::get().seconds(20)))
            << intf << " " << watcher.ends();
      }
      for (int path = 0; path < paths; ++path) {
         std::string const address{30, 0, static_cast<char>(path), 0};
         EXPECT_TRUE(eventually([&] { return watcher.heardOf(address) > behind; }, Scale::get().seconds(20)))
            << path << " " << watcher.ends();
      }
      EXPECT_EQ(watcher.ends(), "");
      fmt::print("latency of events: {}\n", watcher.latencies().text());
   }
   watchers.clear();
   purgeAll();
}

}  // namespace
}  // namespace VelmSdkRpc::chaos
