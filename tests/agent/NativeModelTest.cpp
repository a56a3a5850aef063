// Random sequences of native requests against a plain model, through restarts and resyncs; and resyncs that go on
// beside another controller's programming.
#include <atomic>
#include <csignal>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "tests/agent/AnyNativeRequest.h"
#include "tests/agent/NativeModel.h"
#include "tests/support/AgentTest.h"
#include "tests/support/SwitchLines.h"

namespace VelmSdkRpc {
namespace {

using ::testing::UnorderedElementsAreArray;
using Stub = pb::velmsdk_service::Stub;

constexpr std::uint32_t tag = 7;

class NativeModelTest : public StatefulAgentTest, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
   void expectAgreement() {
      EXPECT_THAT(groupLines(show("show nexthop-group")), UnorderedElementsAreArray(model.groups()));
      EXPECT_THAT(routeLines(show("show ip route")), UnorderedElementsAreArray(model.routes()));
      EXPECT_THAT(tunnels(), UnorderedElementsAreArray(model.tunnels()));
      EXPECT_THAT(labels(), UnorderedElementsAreArray(model.labels()));
      ASSERT_FALSE(HasFailure());
   }

   void send(pb::nexthop_group_msg const& request) { expectSame(setGroup(request), request); }
   void send(pb::nexthop_group_tunnel_msg const& request) { expectSame(setTunnel(request), request); }
   void send(pb::ip_route_msg const& request) { expectSame(setRoute(request), request); }
   void send(pb::mpls_route_msg const& request) { expectSame(setLabel(request), request); }

   // Singly or in bulk.
   void sendAny() {
      switch (any.upTo(8)) {
         case 0: return send(any.group());
         case 1: return send(any.tunnel());
         case 2: return send(any.route());
         case 3: return send(any.label());
         case 4:
            return sendBulk(&Stub::nexthop_group_bulk, &pb::nexthop_group_bulk_msg::add_nexthop_group,
                            [&] { return any.group(); });
         case 5:
            return sendBulk(&Stub::nexthop_group_tunnel_bulk,
                            &pb::nexthop_group_tunnel_bulk_msg::add_nexthop_group_tunnel, [&] { return any.tunnel(); });
         case 6:
            return sendBulk(&Stub::ip_route_bulk, &pb::ip_route_bulk_msg::add_ip_route, [&] { return any.route(); });
         default:
            return sendBulk(&Stub::mpls_route_bulk, &pb::mpls_route_bulk_msg::add_mpls_route,
                            [&] { return any.label(); });
      }
   }

   NativeModel model{tag};
   AnyNativeRequest any{GetParam(), tag};

 private:
   template <class Request>
   void expectSame(pb::rpc_status_msg const& answer, Request const& request) {
      EXPECT_EQ(answer.status(), model.apply(request)) << request.ShortDebugString() << answer.debug_string();
   }
   template <class Bulk, class Request, class Make>
   void sendBulk(grpc::Status (Stub::*method)(grpc::ClientContext*, Bulk const&, pb::rpc_status_bulk_msg*),
                 Request* (Bulk::*add)(), Make&& make) {
      Bulk bulk;
      std::vector<Request> requests;
      for (int left = any.upTo(6); left > 0; --left) *(bulk.*add)() = requests.emplace_back(make());
      auto const answer = call(method, bulk);
      ASSERT_EQ(answer.status_size(), requests.size());
      for (std::size_t i = 0; i < requests.size(); ++i) expectSame(answer.status(static_cast<int>(i)), requests[i]);
   }
};

TEST_P(NativeModelTest, TheSwitchAgreesWithItThroughRestartsAndResyncs) {
   for (int life = 0; life < 3; ++life) {
      init(tag);
      expectAgreement();
      for (int requests = 0; requests < 150; ++requests) {
         sendAny();
         expectAgreement();
      }
      stop(life % 2 == 0 ? SIGKILL : SIGTERM);
      restart();
      expectAgreement();
      init(tag);
      EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
      model.startResync();
      NativeModel const before = model;
      before.eachHeld([&](auto const& request) {
         if (any.oneIn(2)) send(request);
         if (any.oneIn(4)) sendAny();
      });
      expectAgreement();
      EXPECT_THAT(resync(pb::RESYNC_END), Succeeded());
      model.endResync();
      expectAgreement();
   }
}

INSTANTIATE_TEST_SUITE_P(Seeds, NativeModelTest, ::testing::Values(1, 2, 3, 4));

/// A controller that programs fresh keys without pause over a connection of its own, and counts those that were asked
/// for and answered within the present generation, which is one while it is odd.
class Neighbour {
 public:
   Neighbour(AgentProcess const& agent, std::atomic<int> const& generation)
      : client_(pb::velmsdk_service::NewStub(agent.channel())), generation_(generation), thread_([this] { run(); }) {}
   ~Neighbour() {
      stopping_ = true;
      thread_.join();
   }

   std::vector<int> answeredIn(int generation) {
      std::lock_guard const lock(mutex_);
      return answered_[generation];
   }

 private:
   void run() {
      for (int number = 0; !stopping_; ++number) {
         int const before = generation_;
         program(number);
         if (before != generation_) continue;
         std::lock_guard const lock(mutex_);
         answered_[before].push_back(number);
      }
   }
   void program(int number) {
      send(&Stub::nexthop_group, groupMsg(fmt::format("n{}", number)));
      send(&Stub::nexthop_group_tunnel, tunnelMsg(fmt::format("11.{}.{}.0/24", number / 256, number % 256), "g"));
      send(&Stub::ip_route, routeMsg(fmt::format("10.{}.{}.0/24", number / 256, number % 256), "g", tag));
      send(&Stub::mpls_route, number % 2 == 0 ? labelToVrf(number, "red") : labelToGroup(number, "g"));
   }
   template <class Request>
   void send(grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, pb::rpc_status_msg*),
             Request const& request) {
      grpc::ClientContext context;
      pb::rpc_status_msg answer;
      EXPECT_TRUE((client_.get()->*method)(&context, request, &answer).ok());
      EXPECT_THAT(answer, Succeeded());
   }

   std::unique_ptr<Stub> const client_;
   std::atomic<int> const& generation_;
   std::atomic<bool> stopping_ = false;
   std::mutex mutex_;
   std::map<int, std::vector<int>> answered_;  // guarded by mutex_; by generation
   std::thread thread_;                        // last: it uses the others
};

class SecondClientTest : public AgentTest {};

TEST_F(SecondClientTest, WhatIsAnsweredWithinAResyncIsInForceBehindIt) {
   init(tag);
   std::atomic<int> generation = 0;
   Neighbour neighbour(agent(), generation);
   for (int resyncs = 0; resyncs < 5; ++resyncs) {
      EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
      int const open = ++generation;
      ASSERT_TRUE(eventually([&] { return neighbour.answeredIn(open).size() >= 100; }));
      ++generation;
      EXPECT_THAT(resync(pb::RESYNC_END), Succeeded());
      auto const groups = show("show nexthop-group");
      auto const toSet = [](std::vector<std::string> const& lines) {
         return std::set<std::string>(lines.begin(), lines.end());
      };
      auto const routesThere = toSet(routes());
      auto const tunnelsThere = toSet(tunnels());
      auto const labelsThere = toSet(labels());
      for (auto const number : neighbour.answeredIn(open)) {
         auto const network = fmt::format("{}.{}.0/24", number / 256, number % 256);
         EXPECT_TRUE(groups["nexthop_groups"].HasMember(fmt::format("n{}", number).c_str())) << number;
         EXPECT_TRUE(tunnelsThere.contains("11." + network + " g 0")) << number;
         EXPECT_TRUE(routesThere.contains("10." + network)) << number;
         auto const label = number % 2 == 0 ? "{} red" : "{} 4 0 0 hop= intf= group=g";
         EXPECT_TRUE(labelsThere.contains(fmt::format(fmt::runtime(label), number))) << number;
      }
   }
}

}  // namespace
}  // namespace VelmSdkRpc
