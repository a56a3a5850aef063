#include "trials/fuzz/Native.h"

#include <google/protobuf/reflection.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cbf/CbfNexthopGroupRedirect.h"
#include "native/ClientInit.h"
#include "native/IpRoute.h"
#include "native/MplsRoute.h"
#include "native/NexthopGroup.h"
#include "native/NhgTunnel.h"
#include "native/Opaque.h"
#include "native/VelmSdkRpcService.h"
#include "rpc/ProcessTrace.h"
#include "sbfd/Bfd.h"
#include "tests/support/NativeModel.h"
#include "trials/fuzz/Clock.h"
#include "trials/fuzz/Device.h"
#include "trials/support/AnyCommand.h"
#include "trials/support/StormMessage.h"

namespace VelmSdkRpc::fuzz {
namespace {

using pb::rpc_status_msg;
using Tables = std::vector<std::string_view>;

class FuzzMessage : public trials::StormMessage {
 public:
   explicit FuzzMessage(Choices& choices) : StormMessage(choices.draw()) {}

 protected:
   // Many entries are a long wait and no more.
   std::uint64_t number(Field const& field) override {
      return field.name() == "replicate_count" ? upTo(4) : StormMessage::number(field);
   }
};

// The model takes every session for a good one, and these are not.
template <class Request>
concept Modelled = requires(NativeModel model, Request const& request) {
   model.apply(request);
}
&&!std::is_same_v<Request, pb::sbfd_echo_session_msg> && !std::is_same_v<Request, pb::cbf_nexthop_group_redirect_msg>;

class World {
 public:
   World(Choices& choices, Tables const& tables);

   template <class Element, class Owner, class Request, class Response>
   void call(Owner& owner, void (Owner::*process)(Request const&, Response&));
   void step(std::vector<std::function<void(World&)>> const& methods);
   void init();
   void resync();
   void time(std::chrono::milliseconds time);
   void compare();

   VelmSdkRpcService& service() { return service_; }

 private:
   template <class Request>
   void check(Request const& request, rpc_status_msg const& answer);

   Choices& choices_;
   FuzzMessage any_;
   Device device_;
   VelmSdkRpcService service_;
   NativeModel model_{0};
   Tables const& tables_;
   bool initialized_ = false;
   bool resyncing_ = false;
};

World::World(Choices& choices, Tables const& tables)
   : choices_(choices),
     any_(choices),
     service_(&device_.acls, &device_.agent, &device_.bfdSessions, &device_.intfs, &device_.classMaps,
              &device_.ipRoutes, &device_.mplsRoutes, &device_.mplsVrfLabels, &device_.nexthopGroups,
              &device_.nexthopGroupTunnels, &device_.policyMaps),
     tables_(tables) {}

template <class Request>
void World::check(Request const& request, rpc_status_msg const& answer) {
   int expected = answer.status();
   if (!initialized_) {
      expected = rpc_status_msg::STATUS_NOT_INITIALIZED;
   } else if constexpr (Modelled<Request>) {
      expected = model_.apply(request);
   }
   expect(answer.status() == expected, "status {} and not {}: {} for {}", static_cast<int>(answer.status()), expected,
          answer.debug_string(), request.ShortDebugString());
}

// Element is the type of a bulk request's elements, else the request's own.
template <class Element, class Owner, class Request, class Response>
void World::call(Owner& owner, void (Owner::*process)(Request const&, Response&)) {
   Request request;
   any_.fill(request);
   Response response;
   auto const before = device_.show(tables_);
   (owner.*process)(request, response);
   if constexpr (std::is_same_v<Response, rpc_status_msg>) {
      check(request, response);
      expect(response.status() == rpc_status_msg::STATUS_SUCCESS || device_.show(tables_) == before,
             "refused, but not without a trace: {}", request.ShortDebugString());
   } else if constexpr (std::is_same_v<Response, pb::rpc_status_bulk_msg>) {
      auto const elements = request.GetReflection()->template GetRepeatedFieldRef<google::protobuf::Message>(
         request, request.GetDescriptor()->field(0));
      expect(elements.size() == response.status_size(), "{} statuses for {}", response.status_size(), elements.size());
      for (int i = 0; i < elements.size(); ++i) {
         Element element;
         check(static_cast<Element const&>(elements.Get(i, &element)), response.status(i));
      }
   } else {
      expect(request.value_size() == response.value_size(), "{} pairs for {}", response.value_size(),
             request.value_size());
   }
}

void World::init() {
   pb::rpc_server_config_msg config;
   any_.fill(config);
   pb::rpc_server_init_status_msg answer;
   service_.clientInit().processInitRequest(config, answer);
   expect(answer.status().status() == rpc_status_msg::STATUS_SUCCESS, "init: {}", answer.ShortDebugString());
   expect(answer.ip_routes_exist() == model_.holds("route") && answer.mpls_routes_exist() == model_.holds("label") &&
             answer.nexthop_groups_exist() == model_.holds("group") &&
             answer.nexthop_group_tunnels_exist() == model_.holds("tunnel"),
          "init tells of something else: {}", answer.ShortDebugString());
   initialized_ = true;
   model_.tagIs(config.ip_route_tag());
}

void World::resync() {
   pb::rpc_server_resync_msg request;
   bool const start = (any_.upTo(4) == 0) == resyncing_;  // mostly what comes next
   request.set_resync_state(start ? pb::RESYNC_START : pb::RESYNC_END);
   rpc_status_msg answer;
   service_.clientInit().processResync(request, answer);
   expect((answer.status() == rpc_status_msg::STATUS_SUCCESS) == (start || resyncing_), "resync: {}",
          answer.ShortDebugString());
   if (start) {
      model_.startResync();
   } else if (resyncing_) {
      model_.endResync();
   }
   resyncing_ = start;
}

void World::time(std::chrono::milliseconds time) {
   pass(time);
   device_.turn();
}

void World::step(std::vector<std::function<void(World&)>> const& methods) {
   switch (any_.upTo(16)) {
      case 0: return init();
      case 1:
      case 2: return resync();
      case 3: {
         std::vector<std::string> commands;
         for (auto left = 1 + any_.upTo(4); left > 0; --left) commands.push_back(trials::anyConfigCommand(any_));
         device_.configure(commands);
         return;
      }
      case 4: {
         auto const response = device_.vapi.run_show_cmd(trials::anyShowCommand(any_));
         parsed(response.raw_response());
         return;
      }
      case 5: return device_.turn();
      case 6: return time(std::chrono::milliseconds(1U << any_.upTo(13)));
      default: choices_.oneOf(methods)(*this);
   }
}

void World::compare() {
   auto found = tablesOf([this](std::string const& command) { return device_.show(command); });
   std::erase_if(
      found, [](auto const& row) { return row.first.starts_with("session ") || row.first.starts_with("redirect "); });
   auto const difference = differenceOf(found, model_.tables());
   expect(difference.empty(), "{}", difference);
}

/// The work of one harness.
struct Play {
   std::vector<std::function<void(World&)>> methods;
   Tables tables;  // that a refused request must leave alone
};

template <class Owner, class Request, class Bulk>
Play playOf(Owner& (VelmSdkRpcService::*owner)(), void (Owner::*single)(Request const&, rpc_status_msg&),
            void (Owner::*bulk)(Bulk const&, pb::rpc_status_bulk_msg&), Tables tables) {
   return {{[=](World& world) { world.call<Request>((world.service().*owner)(), single); },
            [=](World& world) { world.call<Request>((world.service().*owner)(), bulk); }},
           std::move(tables)};
}

std::map<std::string_view, Play> plays() {
   using Service = VelmSdkRpcService;
   using Opaque = OpaqueProgrammer;
   std::map<std::string_view, Play> plays;
   plays["NexthopGroup"] = playOf(&Service::nexthopGroupProgrammer, &NexthopGroupProgrammer::processNexthopGroupRequest,
                                  &NexthopGroupProgrammer::processNexthopGroupBulkRequest, {"show nexthop-group"});
   plays["IpRoute"] = playOf(&Service::ipRouteProgrammer, &IpRouteProgrammer::processIpRouteRequest,
                             &IpRouteProgrammer::processIpRouteBulkRequest, {"show ip route"});
   plays["NhgTunnel"] = playOf(&Service::nhgTunnelProgrammer, &NhgTunnelProgrammer::processNhgTunnelRequest,
                               &NhgTunnelProgrammer::processNhgTunnelBulkRequest, {"show nexthop-group tunnel"});
   plays["MplsRoute"] = playOf(&Service::mplsRouteProgrammer, &MplsRouteProgrammer::processMPLSRouteRequest,
                               &MplsRouteProgrammer::processMPLSRouteBulkRequest, {"show mpls route"});
   plays["Bfd"] = playOf(&Service::bfdProgrammer, &BfdProgrammer::processSbfdEchoSessionRequest,
                         &BfdProgrammer::processSbfdEchoSessionBulkRequest, {"show sbfd echo"});
   plays["Cbf"] = playOf(&Service::cbfNhgRedirectProgrammer, &CbfNhgRedirectProgrammer::processCbfNhgRedirectRequest,
                         &CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest,
                         {"show acl", "show class-map", "show policy-map"});
   plays["Opaque"] = {{[](World& world) {
                          world.call<pb::rpc_server_state_config_msg>(world.service().opaqueProgrammer(),
                                                                      &Opaque::processOpaqueStateSetRequest);
                       },
                       [](World& world) {
                          world.call<void>(world.service().opaqueProgrammer(), &Opaque::processOpaqueStateGetRequest);
                       }},
                      {"show agent"}};
   Play all;
   for (auto const& [name, play] : plays) {
      all.methods.insert(all.methods.end(), play.methods.begin(), play.methods.end());
   }
   plays["Session"] = {{&World::init, &World::resync, all.methods.front(), all.methods.back()}, {}};
   plays["All"] = std::move(all);
   return plays;
}

}  // namespace

void playNative(std::string_view programmer, Choices choices) {
   static auto const all = plays();
   static bool const quiet = (traceHandle->levelsIs(0), true);
   auto const& play = all.at(programmer);
   World world(choices, play.tables);
   if (quiet && choices.upTo(8) != 0) world.init();
   while (!choices.atEnd()) world.step(play.methods);
   for (int seconds = 3; seconds > 0; --seconds) world.time(std::chrono::seconds(1));
   world.compare();
}

}  // namespace VelmSdkRpc::fuzz
