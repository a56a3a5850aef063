// Watchers, programmers and flapping interfaces, all at once.
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <spawn.h>
#include <thread>

#include "proto/remote/intf.grpc.pb.h"
#include "tests/support/AgentTest.h"
#include "tests/support/Mirror.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using Intfs = remote::IntfMgrService::Stub;
using ::testing::IsEmpty;

remote::WatchIntfRequest watchAll() {
   remote::WatchIntfRequest request;
   request.set_all(true);
   request.set_notify_ready(true);
   return request;
}

/// Watches all interfaces over a connection of its own and keeps the last description that it heard of each.
class Watcher {
 public:
   explicit Watcher(AgentProcess const& agent)
      : stub_(remote::IntfMgrService::NewStub(agent.channel())), stream_(*stub_, &Intfs::watch, watchAll()) {
      ready_ = stream_.next().value_or(remote::WatchIntfResponse()).ready();
      thread_ = std::thread([this] { read(); });
   }
   ~Watcher() {
      stream_.cancel();
      thread_.join();
   }

   bool ready() const { return ready_; }
   std::string description(std::string const& intf) {
      std::lock_guard const lock(mutex_);
      return descriptions_[intf];
   }

 private:
   void read() {
      while (auto const event = stream_.next()) {
         std::lock_guard const lock(mutex_);
         if (event->has_description()) descriptions_[event->intf_id().name()] = event->description();
      }
   }

   std::unique_ptr<Intfs> const stub_;
   Stream<remote::WatchIntfResponse> stream_;
   bool ready_ = false;
   std::mutex mutex_;
   std::map<std::string, std::string> descriptions_;  // guarded by mutex_
   std::thread thread_;
};

using Client = pb::velmsdk_service::Stub;

/// Programs in rounds, over a connection and in a thread of its own, until it goes.
class Programmer {
 public:
   using Round = std::function<void(Client& client, unsigned round)>;

   Programmer(AgentProcess const& agent, Round const& program)
      : client_(pb::velmsdk_service::NewStub(agent.channel())), thread_([this, program] {
           for (unsigned round = 0; !over_; ++round) program(*client_, round);
        }) {}
   ~Programmer() {
      over_ = true;
      thread_.join();
   }

 private:
   std::unique_ptr<Client> const client_;
   std::atomic<bool> over_ = false;
   std::thread thread_;
};

/// Adds and deletes routes and labels in bulk.
Programmer::Round routesAndLabels(unsigned network) {
   return [network](Client& client, unsigned round) {
      pb::ip_route_bulk_msg routes;
      pb::mpls_route_bulk_msg labels;
      for (unsigned i = 0; i < 100; ++i) {
         *routes.add_ip_route() = routeMsg(fmt::format("{}.0.{}.0/24", network, i), round % 2 == 0 ? "g" : "");
         *labels.add_mpls_route() = labelToVrf(network * 1000U + i, round % 2 == 0 ? "red" : "blue");
      }
      auto const answer = ask(client, &Client::ip_route_bulk, routes).response;
      for (auto const& status : answer.status()) {
         EXPECT_NE(status.status(), pb::rpc_status_msg::STATUS_ERROR);  // a resync may have taken it
      }
      ask(client, &Client::mpls_route_bulk, labels);
   };
}

/// Creates and deletes sBFD sessions in bulk.
void programSessions(Client& client, unsigned round) {
   pb::sbfd_echo_session_bulk_msg sessions;
   for (unsigned i = 0; i < 100; ++i) {
      auto& session = *sessions.add_sbfd_echo_session();
      auto& key = *session.mutable_session_key();
      key.set_outgoing_interface(fmt::format("Ethernet{}", 1 + i % 4));
      key.mutable_nexthop()->set_addr(std::string("\x0a\0\0\x01", 4));
      key.add_labels(16 + i);
      session.set_track_interface_state(i % 2 == 0);
      session.set_rtt_enabled(true);
      session.set_request_delete(round % 3 == 2 && i % 5 == 0);
   }
   auto const answer = ask(client, &Client::sbfd_echo_session_bulk, sessions).response;
   for (auto const& status : answer.status()) EXPECT_THAT(status, Succeeded());
}

class StormTest : public AgentTest {};

TEST_F(StormTest, EveryWatcherEndsUpWithTheLastStateOfEachInterface) {
   init();
   std::list<Watcher> watchers;
   for (int i = 0; i < 10; ++i) {
      watchers.emplace_back(agent());
      ASSERT_TRUE(watchers.back().ready());
   }
   constexpr int flaps = 100;
   {
      Programmer const one(agent(), routesAndLabels(10));
      Programmer const two(agent(), routesAndLabels(11));
      for (int flap = 0; flap <= flaps; ++flap) {
         std::vector<std::string> commands;
         for (int port = 1; port <= 32; ++port) {
            commands.push_back(fmt::format("interface Ethernet{}", port));
            commands.push_back(flap % 2 == 0 ? "shutdown" : "no shutdown");
            commands.push_back(fmt::format("description {}", flap));
         }
         world(commands);
         if (flap % 10 == 0) {
            resync(pb::RESYNC_START);
            resync(pb::RESYNC_END);
         }
      }
   }
   for (auto& watcher : watchers) {
      for (int port = 1; port <= 32; ++port) {
         auto const intf = fmt::format("Ethernet{}", port);
         EXPECT_TRUE(eventually([&] { return watcher.description(intf) == std::to_string(flaps); })) << intf;
      }
   }
   watchers.clear();
   EXPECT_TRUE(eventually([&] { return watches("intf_handler").empty(); }));
   EXPECT_EQ(stop(SIGTERM), 0);  // not if ThreadSanitizer has seen a race in it
}

/// Listens for sBFD updates over a connection of its own until one of its label comes.
class Listener {
 public:
   using Batch = pb::watch_sbfd_echo_session_status_msg;

   Listener(AgentProcess const& agent, std::uint32_t lastLabel)
      : client_(pb::velmsdk_service::NewStub(agent.channel())),
        stream_(*client_, &Client::watch_sbfd_echo_session_status_msgs, pb::watch_sbfd_echo_session_config_msg()) {
      // Taken behind the stream's call: from here on it listens.
      ask(*client_, &Client::get_rpc_server_state, pb::rpc_server_state_status_msg());
      thread_ = std::thread([this, lastLabel] { read(lastLabel); });
   }
   ~Listener() {
      stream_.cancel();
      thread_.join();
   }
   bool heardTheLast() const { return heard_; }

 private:
   void read(std::uint32_t lastLabel) {
      while (auto const batch = stream_.next()) {
         for (auto const& element : batch->bulk()) {
            if (!element.session_key().labels().empty() && element.session_key().labels(0) == lastLabel) heard_ = true;
         }
      }
   }

   std::unique_ptr<Client> const client_;
   Stream<Batch> stream_;
   std::atomic<bool> heard_ = false;
   std::thread thread_;
};

TEST_F(StormTest, ListenersHearTheLastStatusBehindAStormOfSessions) {
   init();
   constexpr std::uint32_t lastLabel = 1000;
   std::list<Listener> listeners;
   for (int i = 0; i < 3; ++i) listeners.emplace_back(agent(), lastLabel);
   {
      Programmer const programmer(agent(), programSessions);
      for (int storm = 0; storm < 50; ++storm) {
         std::vector<std::string> commands;
         for (int i = 0; i < 100; ++i) {
            auto const session =
               fmt::format("simulate sbfd Ethernet{} 10.0.0.1 labels {} dscp 0 exp 0 ", 1 + i % 4, 16 + i);
            commands.push_back(session + fmt::format("status {}", (storm + i) % 5));
            commands.push_back(session + "rtt 1 2 3 4 5 6 7");
         }
         commands.push_back(
            fmt::format("simulate interface Ethernet{} oper {}", 1 + storm % 4, storm % 8 < 4 ? "down" : "up"));
         world(commands);
         if (storm % 10 == 9) {
            resync(pb::RESYNC_START);
            EXPECT_THAT(resync(pb::RESYNC_END), Succeeded());
         }
      }
   }
   world({fmt::format("simulate sbfd Ethernet1 10.0.0.1 labels {} dscp 0 exp 0 status 3", lastLabel)});
   for (auto const& listener : listeners) EXPECT_TRUE(eventually([&] { return listener.heardTheLast(); }));
   listeners.clear();
   EXPECT_EQ(stop(SIGTERM), 0);  // not if ThreadSanitizer has seen a race in it
}

// Not a test: what the process does that the test below starts and kills.
TEST(ReaderProcess, DISABLED_ReadsUntilItIsKilled) {
   auto const channel = grpc::CreateChannel(std::getenv("READER_OF"), grpc::InsecureChannelCredentials());
   auto const stub = remote::IntfMgrService::NewStub(channel);
   std::list<Stream<remote::WatchIntfResponse>> streams;
   for (int i = 0; i < 50; ++i) {
      ASSERT_TRUE(streams.emplace_back(*stub, &Intfs::watch, watchAll()).next());
      remote::IntfsRequest const request;
      Stream(*stub, &Intfs::intfs, request).next();
   }
   for (;;) pause();
}

TEST_F(StormTest, AReaderThatIsKilledHarmsNobody) {
   auto const stub = remote::IntfMgrService::NewStub(channel());
   Stream lasting(*stub, &Intfs::watch, watchAll());
   ASSERT_TRUE(lasting.next());
   for (int i = 0; i < 3; ++i) {
      setenv("READER_OF", agent().address().c_str(), 1);
      std::vector<std::string> words{"/proc/self/exe", "--gtest_also_run_disabled_tests",
                                     "--gtest_filter=ReaderProcess.*"};
      std::vector<char*> argv;
      for (auto& word : words) argv.push_back(word.data());
      argv.push_back(nullptr);
      pid_t reader = 0;
      ASSERT_EQ(posix_spawn(&reader, argv[0], nullptr, nullptr, argv.data(), environ), 0);
      ASSERT_TRUE(eventually([&] { return switchCalls("intf_mgr.intf_iter") == 50U * (i + 1); }));
      world({"interface Ethernet1", fmt::format("description a{}", i)});
      EXPECT_EQ(lasting.next()->description(), fmt::format("a{}", i));
      kill(reader, SIGKILL);
      waitpid(reader, nullptr, 0);
      world({"interface Ethernet1", fmt::format("description b{}", i)});
      EXPECT_EQ(lasting.next()->description(), fmt::format("b{}", i));
   }
   EXPECT_THAT(watches("intf_handler"), ::testing::ElementsAre("all"));
   lasting.cancel();
   EXPECT_FALSE(lasting.next());
   EXPECT_TRUE(eventually([&] { return watches("intf_handler").empty(); }));  // of all hundred and fifty
}

}  // namespace
}  // namespace VelmSdkRpc
