// Which of the manager's overloads a request of the IP route mirror reaches: the one with the name of a VRF or not.
#include <mutex>

#include "remote/IpRouteService.h"
#include "tests/support/Mirror.h"
#include "tests/support/MockManagers.h"
#include "tests/support/ServiceServer.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using ::testing::_;
using ::testing::An;
using ::testing::NiceMock;
using Stub = remote::IpRouteMgrService::Stub;

class IpRouteOverloadTest : public ::testing::Test {
 protected:
   using key = velm::ip_route_key_t;
   using route = velm::ip_route_t;
   using via = velm::ip_route_via_t;

   /// Actions that note the call, without and with a VRF.
   template <class Result = void>
   auto bare(std::string const& call) {
      return [this, call](auto const&) {
         note(call);
         return Result();
      };
   }
   template <class Result = void>
   auto inVrf(std::string const& call) {
      return [this, call](auto const&, std::string const& vrf) {
         note(call + " in '" + vrf + "'");
         return Result();
      };
   }

   IpRouteOverloadTest() {
      ON_CALL(routes, exists(An<key const&>())).WillByDefault(bare<bool>("exists"));
      ON_CALL(routes, exists(An<key const&>(), _)).WillByDefault(inVrf<bool>("exists"));
      ON_CALL(routes, exists(An<via const&>())).WillByDefault(bare<bool>("via exists"));
      ON_CALL(routes, exists(An<via const&>(), _)).WillByDefault(inVrf<bool>("via exists"));
      ON_CALL(routes, ip_route(_)).WillByDefault(bare<route>("read"));
      ON_CALL(routes, ip_route(_, _)).WillByDefault(inVrf<route>("read"));
      ON_CALL(routes, ip_route_set(_)).WillByDefault(bare("set"));
      ON_CALL(routes, ip_route_set(_, An<std::string const&>())).WillByDefault(inVrf("set"));
      ON_CALL(routes, ip_route_set(_, An<velm::ip_route_action_t>())).WillByDefault([this](auto const&, auto action) {
         note("set action " + std::to_string(static_cast<int>(action)));
      });
      ON_CALL(routes, ip_route_del(_)).WillByDefault(bare("del"));
      ON_CALL(routes, ip_route_del(_, _)).WillByDefault(inVrf("del"));
      ON_CALL(routes, ip_route_via_set(_)).WillByDefault(bare("via set"));
      ON_CALL(routes, ip_route_via_set(_, _)).WillByDefault(inVrf("via set"));
      ON_CALL(routes, ip_route_via_del(_)).WillByDefault(bare("via del"));
      ON_CALL(routes, ip_route_via_del(_, _)).WillByDefault(inVrf("via del"));
      ON_CALL(routes, ip_route_via_iter(_)).WillByDefault([this](auto const& key) {
         bare("vias")(key);
         return emptyIter<via>();
      });
      ON_CALL(routes, ip_route_via_iter(_, _)).WillByDefault([this](auto const& key, auto const& vrf) {
         inVrf("vias")(key, vrf);
         return emptyIter<via>();
      });
      server.start();
      EXPECT_TRUE(channel->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20)));
   }

   /// The manager's operation that the method reaches.
   template <class Request, class Response>
   std::string reached(grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Response*),
                       Request const& request) {
      note("nothing");
      auto const outcome = ask(*stub, method, request);
      return outcome.status.ok() ? last() : outcome.status.error_message();
   }

   template <class Method>
   void expectChoice(Method method, auto request, std::string const& operation) {
      EXPECT_EQ(reached(method, request), operation);
      request.set_vrf_name("red");
      EXPECT_EQ(reached(method, request), operation + " in 'red'");
   }
   template <class Bulk, class Request>
   void expectBulkChoice(Bulk method, auto bulk, Request request, std::string const& operation) {
      *bulk.add_requests() = request;
      EXPECT_EQ(reached(method, bulk), operation);
      request.set_vrf_name("red");
      *bulk.add_requests() = request;
      EXPECT_EQ(reached(method, bulk), operation + " in 'red'");
   }

   // Of the server's thread and the test's.
   void note(std::string call) {
      std::lock_guard const lock(lastMutex_);
      last_ = std::move(call);
   }
   std::string last() {
      std::lock_guard const lock(lastMutex_);
      return last_;
   }

   std::mutex lastMutex_;
   std::string last_;  // guarded by lastMutex_
   NiceMock<MockIpRouteMgr> routes;
   ServiceServer<IpRouteService> server{std::make_unique<IpRouteService>(&routes)};
   std::shared_ptr<grpc::Channel> const channel = server.channel();
   std::unique_ptr<Stub> const stub = remote::IpRouteMgrService::NewStub(channel);
};

TEST_F(IpRouteOverloadTest, AnEmptyNameIsNone) {
   expectChoice(&Stub::ip_route_exists, remote::IpRouteExistsRequest(), "exists");
   expectChoice(&Stub::ip_route_via_exists, remote::IpRouteViaExistsRequest(), "via exists");
   expectChoice(&Stub::ip_route, remote::IpRouteRequest(), "read");
   expectChoice(&Stub::ip_route_del, remote::IpRouteDelRequest(), "del");
   expectChoice(&Stub::ip_route_via_set, remote::IpRouteViaSetRequest(), "via set");
   expectChoice(&Stub::ip_route_via_del, remote::IpRouteViaDelRequest(), "via del");
   expectBulkChoice(&Stub::bulk_ip_route_del, remote::BulkIpRouteDelRequest(), remote::IpRouteDelRequest(), "del");
   expectBulkChoice(&Stub::bulk_ip_route_via_set, remote::BulkIpRouteViaSetRequest(), remote::IpRouteViaSetRequest(),
                    "via set");
   expectBulkChoice(&Stub::bulk_ip_route_via_del, remote::BulkIpRouteViaDelRequest(), remote::IpRouteViaDelRequest(),
                    "via del");
   remote::IpRouteViasRequest vias;
   for (auto const* vrf : {"", "red"}) {
      vias.set_vrf_name(vrf);
      EXPECT_FALSE(Stream(*stub, &Stub::ip_route_vias, vias).next());
      EXPECT_EQ(last(), *vrf == 0 ? "vias" : "vias in 'red'");
   }
}

TEST_F(IpRouteOverloadTest, ARouteIsSetByWhatWasChosen) {
   remote::IpRouteSetRequest request;
   EXPECT_EQ(reached(&Stub::ip_route_set, request), "set");
   request.set_action(remote::IP_ROUTE_ACTIONS_DROP);
   EXPECT_EQ(reached(&Stub::ip_route_set, request), "set action 1");
   remote::BulkIpRouteSetRequest bulk;
   *bulk.add_requests() = request;
   EXPECT_EQ(reached(&Stub::bulk_ip_route_set, bulk), "set action 1");
   request.set_action(static_cast<remote::IpRouteActions>(7));
   EXPECT_EQ(reached(&Stub::ip_route_set, request), "Unknown value for ip_route_action_t: 7");
   EXPECT_EQ(last(), "nothing");
   for (auto const* vrf : {"", "red"}) {
      request.set_vrf_name(vrf);
      EXPECT_EQ(reached(&Stub::ip_route_set, request), std::string("set in '") + vrf + "'");
      *bulk.add_requests() = request;
      EXPECT_EQ(reached(&Stub::bulk_ip_route_set, bulk), std::string("set in '") + vrf + "'");
   }
   request.mutable_ip_route()->mutable_key()->mutable_prefix()->set_ip_addr("12345");
   EXPECT_EQ(reached(&Stub::ip_route_set, request), "bytes length 5 does not match IPv4(4) or IPv6(16)");
}

}  // namespace
}  // namespace VelmSdkRpc
