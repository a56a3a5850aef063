// The mirrors of routes and groups beside the native service, their bulks, and their watches.
#include <csignal>

#include "proto/remote/bgp_path.grpc.pb.h"
#include "proto/remote/ip_route.grpc.pb.h"
#include "proto/remote/mpls_route.grpc.pb.h"
#include "proto/remote/nexthop_group.grpc.pb.h"
#include "tests/support/AgentTest.h"
#include "tests/support/Mirror.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Ip = remote::IpRouteMgrService::Stub;
using Mpls = remote::MplsRouteMgrService::Stub;
using Groups = remote::NexthopGroupMgrService::Stub;
using Bgp = remote::BgpPathMgrService::Stub;

remote::IpRouteKey routeKey(unsigned char third, unsigned preference = 1) {
   remote::IpRouteKey key;
   key.mutable_prefix()->set_ip_addr({10, 0, static_cast<char>(third), 0});
   key.mutable_prefix()->set_prefix_length(24);
   key.set_preference(preference);
   return key;
}
remote::IpRouteSetRequest routeSet(unsigned char third) {
   remote::IpRouteSetRequest request;
   *request.mutable_ip_route()->mutable_key() = routeKey(third);
   return request;
}
remote::MplsRouteKey labelKey(std::uint32_t label) {
   remote::MplsRouteKey key;
   key.add_labels()->set_label(label);
   return key;
}
remote::MplsRouteSetRequest labelSet(std::uint32_t label) {
   remote::MplsRouteSetRequest request;
   *request.mutable_route()->mutable_key() = labelKey(label);
   return request;
}
remote::NexthopGroupSetRequest groupSet(std::string const& name) {
   remote::NexthopGroupSetRequest request;
   request.mutable_nexthop_group()->set_name(name);
   request.mutable_nexthop_group()->set_type(remote::NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
   return request;
}

class RouteMirrorTest : public AgentTest {
 protected:
   void SetUp() override {
      AgentTest::SetUp();
      connect();
   }
   void connect() {
      ip = remote::IpRouteMgrService::NewStub(channel());
      mpls = remote::MplsRouteMgrService::NewStub(channel());
      groups = remote::NexthopGroupMgrService::NewStub(channel());
      bgp = remote::BgpPathMgrService::NewStub(channel());
   }

   /// What the switch holds of routes, labels and groups.
   std::vector<std::string> tables() {
      std::vector<std::string> tables;
      for (auto const* command : {"show ip route", "show mpls route", "show nexthop-group"}) {
         tables.push_back(runShow(command).raw_response());
      }
      return tables;
   }

   template <class Stub, class Request, class Response>
   void succeed(Stub& stub, grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Response*),
                Request const& request) {
      auto const outcome = ask(stub, method, request);
      EXPECT_TRUE(outcome.status.ok()) << outcome.status.error_message();
   }

   std::unique_ptr<Ip> ip;
   std::unique_ptr<Mpls> mpls;
   std::unique_ptr<Groups> groups;
   std::unique_ptr<Bgp> bgp;
};

TEST_F(RouteMirrorTest, WhatIsReadOfANativeControllersProgrammingProgramsTheSameAgain) {
   init(7);
   EXPECT_THAT(setGroup(groupMsg("g", "Ethernet3", 3)), Succeeded());
   EXPECT_THAT(setRoute(routeMsg("10.0.0.0/8", "g", 7)), Succeeded());
   EXPECT_THAT(setRoute(routeMsg("2001:db8::/32", "g", 7)), Succeeded());
   for (auto const& label : {labelToNexthop(100, 200), labelToGroup(101, "g")})
      EXPECT_THAT(setLabel(label), Succeeded());
   auto const programmed = tables();
   auto const routes = Stream(*ip, &Ip::ip_routes, remote::IpRoutesRequest()).rest();
   auto const labels = Stream(*mpls, &Mpls::mpls_routes, remote::MplsRoutesRequest()).rest();
   auto const all = Stream(*groups, &Groups::nexthop_groups, remote::NexthopGroupsRequest()).rest();
   ASSERT_EQ(routes.size() + labels.size() + all.size(), 5);
   std::vector<remote::IpRouteVia> routeVias;
   for (auto const& route : routes) {
      EXPECT_EQ(route.ip_route().tag(), 7);
      remote::IpRouteViasRequest request;
      *request.mutable_key() = route.ip_route().key();
      for (auto const& via : Stream(*ip, &Ip::ip_route_vias, request).rest()) routeVias.push_back(via.ip_route_via());
   }
   std::vector<remote::MplsRouteVia> labelVias;
   for (auto const& route : labels) {
      remote::MplsRouteViasRequest request;
      *request.mutable_key() = route.route().key();
      for (auto const& via : Stream(*mpls, &Mpls::mpls_route_vias, request).rest()) labelVias.push_back(via.via());
   }
   restart();
   connect();
   auto const empty = tables();
   EXPECT_NE(empty, programmed);
   remote::BulkNexthopGroupSetRequest groupSets;
   for (auto const& group : all) *groupSets.add_requests()->mutable_nexthop_group() = group.nexthop_group();
   succeed(*groups, &Groups::bulk_nexthop_group_set, groupSets);
   remote::BulkIpRouteSetRequest routeSets;
   for (auto const& route : routes) {
      auto& set = *routeSets.add_requests();
      *set.mutable_ip_route() = route.ip_route();
      set.set_action(remote::IP_ROUTE_ACTIONS_NEXTHOP_GROUP);  // what a route does cannot be read
   }
   succeed(*ip, &Ip::bulk_ip_route_set, routeSets);
   remote::BulkIpRouteViaSetRequest routeViaSets;
   for (auto const& via : routeVias) *routeViaSets.add_requests()->mutable_via() = via;
   succeed(*ip, &Ip::bulk_ip_route_via_set, routeViaSets);
   remote::BulkMplsRouteSetRequest labelSets;
   for (auto const& route : labels) *labelSets.add_requests()->mutable_route() = route.route();
   succeed(*mpls, &Mpls::bulk_mpls_route_set, labelSets);
   remote::BulkMplsRouteViaSetRequest labelViaSets;
   for (auto const& via : labelVias) *labelViaSets.add_requests()->mutable_via() = via;
   succeed(*mpls, &Mpls::bulk_mpls_route_via_set, labelViaSets);
   EXPECT_TRUE(eventually([&] { return tables() == programmed; }));  // also what the dataplane says of the group
   // The native service takes away what the mirror has set.
   init(7);
   EXPECT_THAT(setRoute(routeMsg("10.0.0.0/8", "", 7)), Succeeded());
   EXPECT_THAT(setLabel(labelDeletion(100)), Succeeded());
   EXPECT_EQ(Stream(*ip, &Ip::ip_routes, remote::IpRoutesRequest()).rest().size(), 1);
   EXPECT_EQ(Stream(*mpls, &Mpls::mpls_routes, remote::MplsRoutesRequest()).rest().size(), 1);
}

TEST_F(RouteMirrorTest, AttributesAreThoseOfTheSwitch) {
   remote::TagIsRequest tag;
   tag.set_tag(9);
   succeed(*ip, &Ip::tag_is, tag);
   EXPECT_EQ(ask(*ip, &Ip::tag, remote::TagRequest()).response.tag(), 9);
   remote::IpRouteRequest route;
   *route.mutable_key() = routeKey(1);
   EXPECT_EQ(ask(*ip, &Ip::ip_route, route).status.error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   succeed(*ip, &Ip::ip_route_set, routeSet(1));
   EXPECT_EQ(ask(*ip, &Ip::ip_route, route).response.ip_route().key().SerializeAsString(),
             routeKey(1).SerializeAsString());
   remote::MplsRouteFecIdRequest fec;
   *fec.mutable_key() = labelKey(100);
   EXPECT_EQ(ask(*mpls, &Mpls::fec_id, fec).response.fec().id(), 0);
   succeed(*mpls, &Mpls::mpls_route_set, labelSet(100));
   remote::MplsRouteViaSetRequest via;
   *via.mutable_via()->mutable_route_key() = labelKey(100);
   via.mutable_via()->set_label_action(remote::MPLS_ACTIONS_POP);
   succeed(*mpls, &Mpls::mpls_route_via_set, via);
   auto const id = ask(*mpls, &Mpls::fec_id, fec).response.fec();
   EXPECT_NE(id.id(), 0);
   remote::MplsRouteExistsRequest exists;
   EXPECT_FALSE(ask(*mpls, &Mpls::exists, exists).response.exists());  // the empty via
   *exists.mutable_via() = via.via();
   EXPECT_TRUE(ask(*mpls, &Mpls::exists, exists).response.exists());
   *exists.mutable_key() = labelKey(101);
   EXPECT_FALSE(ask(*mpls, &Mpls::exists, exists).response.exists());
   remote::MplsRouteViaStatusesRequest statuses;
   *statuses.mutable_fec() = id;
   EXPECT_TRUE(eventually([&] { return Stream(*mpls, &Mpls::mpls_route_via_statuses, statuses).rest().size() == 1; }));
   statuses.clear_selector();
   EXPECT_THAT(Stream(*mpls, &Mpls::mpls_route_via_statuses, statuses).rest(), IsEmpty());
}

TEST_F(RouteMirrorTest, AGroupIsReadWithItsStateAndItsCounters) {
   auto group = groupSet("g");
   auto& entry = (*group.mutable_nexthop_group()->mutable_nexthops())[65536 + 2];  // cut to 2
   entry.mutable_intf()->set_name("Ethernet1");
   entry.mutable_mpls_action()->set_action_type(remote::MPLS_ACTIONS_PUSH);
   entry.mutable_mpls_action()->add_label_stack(16);
   succeed(*groups, &Groups::nexthop_group_set, group);
   auto const named = [](auto request) {
      request.set_name("g");
      return request;
   };
   auto const active = named(remote::NexthopGroupActiveRequest());
   EXPECT_TRUE(eventually([&] { return ask(*groups, &Groups::active, active).response.active(); }));
   EXPECT_TRUE(ask(*groups, &Groups::exists, named(remote::NexthopGroupExistsRequest())).response.exists());
   auto const read =
      ask(*groups, &Groups::nexthop_group, named(remote::NexthopGroupRequest())).response.nexthop_group();
   ASSERT_EQ(read.nexthops_size(), 1);
   EXPECT_EQ(read.nexthops().at(2).SerializeAsString(), entry.SerializeAsString());
   auto const programmed =
      Stream(*groups, &Groups::programmed_nexthop_groups, remote::ProgrammedNexthopGroupsRequest()).rest();
   ASSERT_EQ(programmed.size(), 1);
   EXPECT_EQ(programmed[0].name(), "g");
   world({"simulate nexthop-group g counter 2 5 600"});
   auto counter = named(remote::CounterRequest());
   counter.set_entry(65536 + 2);
   auto const counted = ask(*groups, &Groups::counter, counter).response.counter();
   EXPECT_TRUE(counted.valid());
   EXPECT_EQ(counted.packets(), 5);
   EXPECT_EQ(counted.bytes(), 600);
   succeed(*groups, &Groups::nexthop_group_del, named(remote::NexthopGroupDelRequest()));
   EXPECT_FALSE(ask(*groups, &Groups::exists, named(remote::NexthopGroupExistsRequest())).response.exists());
}

TEST_F(RouteMirrorTest, BulksStopAtTheFirstBadElementAndKeepWhatWentBefore) {
   auto const expectStops = [&](auto& stub, auto method, auto bulk, auto make, auto spoil, char const* text, int code) {
      for (int bad : {0, 2, 4}) {
         bulk.clear_requests();
         for (int i = 0; i < 5; ++i) *bulk.add_requests() = make(10 * bad + i);
         spoil(*bulk.mutable_requests(bad));
         auto const outcome = ask(stub, method, bulk);
         EXPECT_TRUE(outcome.status.ok());
         EXPECT_EQ(outcome.response.count(), bad);
         EXPECT_EQ(outcome.response.status().code(), code);
         EXPECT_EQ(outcome.response.status().error_string(), text);
      }
      bulk.clear_requests();
      auto const outcome = ask(stub, method, bulk);
      EXPECT_TRUE(outcome.status.ok() && outcome.response.has_status());
      EXPECT_EQ(outcome.response.status().code() + outcome.response.count(), 0);
   };
   expectStops(
      *ip, &Ip::bulk_ip_route_set, remote::BulkIpRouteSetRequest(),
      [](int i) { return routeSet(static_cast<unsigned char>(i)); },
      [](auto& request) { request.mutable_ip_route()->mutable_key()->mutable_prefix()->set_ip_addr("12345"); },
      "bytes length 5 does not match IPv4(4) or IPv6(16)", 3);
   expectStops(
      *mpls, &Mpls::bulk_mpls_route_set, remote::BulkMplsRouteSetRequest(), [](int i) { return labelSet(100 + i); },
      [](auto& request) { request.mutable_route()->mutable_key()->set_metric(256); }, "metric 256 is out of range", 3);
   expectStops(
      *groups, &Groups::bulk_nexthop_group_set, remote::BulkNexthopGroupSetRequest(),
      [](int i) { return groupSet(std::to_string(i)); },
      [](auto& request) {
         request.mutable_nexthop_group()->set_gre_key_type(static_cast<remote::NexthopGroupGreKeyTypes>(2));
      },
      "Unknown value for nexthop_group_gre_key_t 2", 3);
   EXPECT_EQ(routes().size(), 6);
   EXPECT_EQ(labels().size(), 6);
   EXPECT_EQ(show("show nexthop-group")["nexthop_groups"].MemberCount(), 6);
   remote::BulkIpRouteDelRequest dels;
   for (int i : {20, 21, 99}) *dels.add_requests()->mutable_key() = routeKey(static_cast<unsigned char>(i));
   EXPECT_EQ(ask(*ip, &Ip::bulk_ip_route_del, dels).response.count(), 3);
   EXPECT_EQ(routes().size(), 4);
}

TEST_F(RouteMirrorTest, OfARouteAndOfAFecTheLastEventOfABurstComes) {
   auto const watch = watchFrom(*mpls, &Mpls::watch, remote::MplsRouteWatchRequest());
   auto const word = [](remote::MplsRouteWatchResponse const& event) {
      auto const label = [](auto const& change) { return change.route_key().labels(0).label(); };
      switch (event.event_case()) {
         case remote::MplsRouteWatchResponse::kOnMplsRouteSet:
            return fmt::format("set {} fec {}", label(event.on_mpls_route_set()),
                               event.on_mpls_route_set().fec().id() != 0);
         case remote::MplsRouteWatchResponse::kOnMplsRouteDel:
            return fmt::format("del {}", label(event.on_mpls_route_del()));
         case remote::MplsRouteWatchResponse::kOnMplsFecSet:
            return fmt::format("fec set {}", event.on_mpls_fec_set().fec().id());
         case remote::MplsRouteWatchResponse::kOnMplsFecDel:
            return fmt::format("fec del {}", event.on_mpls_fec_del().fec().id());
         default: return std::string("nothing");
      }
   };
   world({"simulate mpls fec 900 set", "simulate mpls fec 901 set", "simulate mpls fec 900 delete"});
   EXPECT_THAT(nextWords(*watch, 2, word), UnorderedElementsAre("fec del 900", "fec set 901"));
   init();
   remote::BulkMplsRouteSetRequest sets;
   *sets.add_requests() = labelSet(100);
   *sets.add_requests() = labelSet(101);
   *sets.add_requests() = labelSet(100);
   succeed(*mpls, &Mpls::bulk_mpls_route_set, sets);
   auto words = nextWords(*watch, 4, word);
   std::erase_if(words, [](auto const& text) { return text.starts_with("fec set"); });
   EXPECT_THAT(words, UnorderedElementsAre("set 100 fec true", "set 101 fec true"));
   remote::MplsRouteDelRequest del;
   *del.mutable_key() = labelKey(100);
   succeed(*mpls, &Mpls::mpls_route_del, del);
   words = nextWords(*watch, 2, word);
   EXPECT_THAT(words, ::testing::Contains("del 100"));
   EXPECT_THAT(watches("mpls_route_handler"), ElementsAre("all"));
   watch->cancel();
   EXPECT_TRUE(eventually([&] { return watches("mpls_route_handler").empty(); }));
}

TEST_F(RouteMirrorTest, AWatchOfGroupsBringsEveryEventOfThoseItChose) {
   auto const watch = [&](auto choose) {
      remote::WatchNexthopGroupRequest request;
      choose(request);
      return watchFrom(*groups, &Groups::watch, request);
   };
   auto const word = [](remote::WatchNexthopGroupResponse const& event) {
      return event.has_active()
                ? fmt::format("{} active {}", event.name(), event.active())
                : fmt::format("{} programmed {} version {}", event.name(), event.programmed(), event.version());
   };
   auto const all = watch([](auto& request) { request.set_all(true); });
   auto const one = watch([](auto& request) { request.set_name("h"); });
   auto const none = watch([](auto& request) { request.set_all(false); });
   world({"simulate nexthop-group g active true", "simulate nexthop-group g active false",
          "simulate nexthop-group h programmed 65535", "simulate nexthop-group h active true"});
   EXPECT_THAT(nextWords(*all, 4, word),
               ElementsAre("g active true", "g active false", "h programmed true version 65535", "h active true"));
   EXPECT_THAT(nextWords(*one, 2, word), ElementsAre("h programmed true version 65535", "h active true"));
   stop(SIGTERM);
   EXPECT_FALSE(none->next());
}

TEST_F(RouteMirrorTest, BgpPathsAreReadAndWatchedByFamily) {
   auto const watch = [&](auto choose) {
      remote::BgpPathWatchRequest request;
      choose(request);
      return watchFrom(*bgp, &Bgp::watch, request);
   };
   auto const word = [](remote::BgpPathWatchResponse const& event) {
      return event.has_path_key()
                ? fmt::format("{} path {}", event.ip_version(), event.path_key().prefix().prefix_length())
                : fmt::format("{} converged {}", event.ip_version(), event.converged());
   };
   auto const all = watch([](auto& request) { request.set_all(true); });
   auto const ipv4 = watch([](auto& request) { request.set_ipv4(true); });
   auto const ipv6 = watch([](auto& request) { request.set_ipv6(true); });
   auto const none = watch([](auto& request) { request.set_all(false); });
   auto const path = [](char const* prefix) {
      return fmt::format("simulate bgp path {} peer 192.0.2.1 vrf red", prefix);
   };
   world({path("10.0.0.0/8") + " next-hop 192.0.2.9 origin 1 med 2 local-pref 3 community 4,5", path("10.0.0.0/8"),
          path("10.0.0.0/8") + " next-hop 192.0.2.9 med 7 community 5", path("2001:db8::/32"),
          "simulate bgp converged ipv4 true", "simulate bgp converged ipv4 false", "simulate bgp converged ipv6 true"});
   EXPECT_THAT(nextWords(*all, 4, word),
               UnorderedElementsAre("4 path 8", "4 converged false", "6 path 32", "6 converged true"));
   EXPECT_THAT(nextWords(*ipv4, 2, word), UnorderedElementsAre("4 path 8", "4 converged false"));
   EXPECT_THAT(nextWords(*ipv6, 2, word), UnorderedElementsAre("6 path 32", "6 converged true"));
   EXPECT_FALSE(
      ask(*bgp, &Bgp::ipv4_unicast_bgp_convergence, remote::Ipv4UnicastBgpConvergenceRequest()).response.converged());
   EXPECT_TRUE(
      ask(*bgp, &Bgp::ipv6_unicast_bgp_convergence, remote::Ipv6UnicastBgpConvergenceRequest()).response.converged());
   remote::Ipv4UnicastPathsRequest request;
   request.mutable_options()->mutable_path_attr_fields()->set_community_list(true);
   auto const paths = Stream(*bgp, &Bgp::ipv4_unicast_paths, request).rest();
   ASSERT_EQ(paths.size(), 1);
   EXPECT_EQ(paths[0].path().path_attr().next_hop(), "");  // was not asked for
   EXPECT_THAT(paths[0].path().path_attr().community_list(), ElementsAre(5));
   remote::Ipv4UnicastPathRequest one;
   *one.mutable_key() = paths[0].path().path_key();
   EXPECT_EQ(one.key().vrf_name(), "red");
   EXPECT_EQ(ask(*bgp, &Bgp::ipv4_unicast_path, one).response.path().path_attr().next_hop(),
             std::string("\xc0\0\x02\x09", 4));
   remote::Ipv6UnicastPathRequest other;
   *other.mutable_key() = one.key();
   EXPECT_EQ(ask(*bgp, &Bgp::ipv6_unicast_path, other).status.error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   stop(SIGTERM);
   EXPECT_FALSE(none->next());
}

}  // namespace
}  // namespace VelmSdkRpc
