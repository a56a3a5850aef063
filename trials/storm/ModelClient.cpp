#include "trials/storm/ModelClient.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>

#include "tests/support/SwitchLines.h"

namespace VelmSdkRpc::storm {
namespace {

constexpr std::uint32_t tag = 7;

// StormMessage draws none of these.
NativeKeys keys() { return {"model", "77", "2001:db9", 1048551}; }

rapidjson::Document parsed(std::string const& text) {
   rapidjson::Document json;
   json.Parse(text.c_str());
   return json;
}

}  // namespace

ModelClient::ModelClient(std::shared_ptr<grpc::Channel> const& channel, Console const& console, Tally& tally,
                         Findings& findings, std::uint32_t seed)
   : console_(console),
     tally_(tally),
     findings_(findings),
     stub_(pb::velmsdk_service::NewStub(channel)),
     any_(seed, tag, keys()),
     model_(tag) {}

template <class Request, class Response>
bool ModelClient::call(char const* name, grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Response*),
                       Request const& request, Response& response) {
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(90));
   auto const status = (stub_.get()->*method)(&context, request, &response);
   tally_.add(tally_.named(name), status.ok() ? End::ok : End::refused);
   if (!status.ok()) {
      findings_.add(fmt::format("model, {}: status {} {}", name, status.error_code(), status.error_message()));
   }
   return status.ok();
}

template <class Request>
void ModelClient::check(char const* name, Request const& request, pb::rpc_status_msg const& answer) {
   auto const expected = model_.apply(request);
   if (answer.status() == expected) return;
   findings_.add(fmt::format("model, {} {{ {}}}: status {} \"{}\", not {}", name, request.ShortDebugString(),
                             static_cast<int>(answer.status()), answer.debug_string(), static_cast<int>(expected)));
}

template <class Request>
void ModelClient::single(char const* name,
                         grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, pb::rpc_status_msg*),
                         Request const& request) {
   pb::rpc_status_msg answer;
   if (call(name, method, request, answer)) check(name, request, answer);
}

template <class Bulk, class Request>
void ModelClient::bulk(char const* name,
                       grpc::Status (Stub::*method)(grpc::ClientContext*, Bulk const&, pb::rpc_status_bulk_msg*),
                       Request* (Bulk::*add)(), Request (AnyNativeRequest::*make)()) {
   Bulk bulk;
   std::vector<Request> requests;
   for (int left = any_.upTo(6); left > 0; --left) *(bulk.*add)() = requests.emplace_back((any_.*make)());
   pb::rpc_status_bulk_msg answer;
   if (!call(name, method, bulk, answer)) return;
   if (answer.status_size() != static_cast<int>(requests.size())) {
      return findings_.add(fmt::format("model, {}: {} statuses for {}", name, answer.status_size(), requests.size()));
   }
   for (int i = 0; i < answer.status_size(); ++i) check(name, requests[static_cast<std::size_t>(i)], answer.status(i));
}

void ModelClient::send(pb::nexthop_group_msg const& request) { single("nexthop_group", &Stub::nexthop_group, request); }
void ModelClient::send(pb::nexthop_group_tunnel_msg const& request) {
   single("nexthop_group_tunnel", &Stub::nexthop_group_tunnel, request);
}
void ModelClient::send(pb::ip_route_msg const& request) { single("ip_route", &Stub::ip_route, request); }
void ModelClient::send(pb::mpls_route_msg const& request) { single("mpls_route", &Stub::mpls_route, request); }

void ModelClient::sendAny() {
   switch (any_.upTo(9)) {
      case 0: return send(any_.group());
      case 1: return send(any_.tunnel());
      case 2: return send(any_.route());
      case 3: return send(any_.label());
      case 4:
         return bulk("nexthop_group_bulk", &Stub::nexthop_group_bulk, &pb::nexthop_group_bulk_msg::add_nexthop_group,
                     &AnyNativeRequest::group);
      case 5:
         return bulk("nexthop_group_tunnel_bulk", &Stub::nexthop_group_tunnel_bulk,
                     &pb::nexthop_group_tunnel_bulk_msg::add_nexthop_group_tunnel, &AnyNativeRequest::tunnel);
      case 6:
         return bulk("ip_route_bulk", &Stub::ip_route_bulk, &pb::ip_route_bulk_msg::add_ip_route,
                     &AnyNativeRequest::route);
      case 7:
         return bulk("mpls_route_bulk", &Stub::mpls_route_bulk, &pb::mpls_route_bulk_msg::add_mpls_route,
                     &AnyNativeRequest::label);
      default: return sendPairs();
   }
}

void ModelClient::sendPairs() {
   single("rpc_server_state", &Stub::rpc_server_state, any_.pairs());
   pb::rpc_server_state_status_msg request;
   for (int i = 0; i < 4; ++i) request.add_value()->set_key(fmt::format("{}.{}", keys().group, i));
   pb::rpc_server_state_status_msg answer;
   if (!call("get_rpc_server_state", &Stub::get_rpc_server_state, request, answer)) return;
   for (auto& pair : *request.mutable_value()) {
      auto const it = model_.pairs().find(pair.key());
      if (it != model_.pairs().end()) pair.set_value(it->second);
   }
   if (answer.SerializeAsString() != request.SerializeAsString()) {
      findings_.add(fmt::format("model, pairs: {}, not {}", answer.ShortDebugString(), request.ShortDebugString()));
   }
}

void ModelClient::init() {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(tag);
   if (any_.oneIn(2)) config.set_cbf_nexthop_group_redirect_policy_map_name("cbf");
   pb::rpc_server_init_status_msg answer;
   if (call("rpc_server_init", &Stub::rpc_server_init, config, answer) && answer.status().status() != 0) {
      findings_.add("model, rpc_server_init: " + answer.ShortDebugString());
   }
}

void ModelClient::setResync(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   pb::rpc_status_msg answer;
   if (call("rpc_server_resync", &Stub::rpc_server_resync, request, answer) && answer.status() != 0) {
      findings_.add("model, rpc_server_resync: " + answer.ShortDebugString());
   }
   state == pb::RESYNC_START ? model_.startResync() : model_.endResync();
}

void ModelClient::beginAnew() {
   init();
   setResync(pb::RESYNC_START);
   setResync(pb::RESYNC_END);
}

void ModelClient::program(std::function<bool()> const& goesOn) {
   while (goesOn()) sendAny();
}

void ModelClient::resync() {
   init();
   setResync(pb::RESYNC_START);
   NativeModel const before = model_;
   before.eachHeld([&](auto const& request) {
      if (any_.oneIn(2)) send(request);
      if (any_.oneIn(4)) sendAny();
   });
   setResync(pb::RESYNC_END);
}

void ModelClient::compare() {
   auto const startsWithKey = [](std::string const& line) {
      return line.starts_with("model") || line.starts_with("77.") || line.starts_with("2001:db9:");
   };
   auto const hasLabel = [](std::string const& line) { return std::stoul("0" + line) >= keys().lowLabel; };
   auto const ask = [&](char const* command) { return parsed(console_.show(command)); };
   compareTable("groups", groupLines(ask("show nexthop-group")), model_.groups(), startsWithKey);
   compareTable("routes", routeLines(ask("show ip route")), model_.routes(), startsWithKey);
   compareTable("tunnels", tunnelLines(ask("show nexthop-group tunnel")), model_.tunnels(), startsWithKey);
   compareTable("labels", labelLines(ask("show mpls route")), model_.labels(), hasLabel);
   std::vector<std::string> pairs;
   for (auto const& [key, value] : model_.pairs()) pairs.push_back(fmt::format("{} {}", key, value));
   std::vector<std::string> statuses;
   auto const agent = ask("show agent");
   for (auto const& [key, value] : agent["statuses"].GetObject()) {
      statuses.push_back(fmt::format("{} {}", key.GetString(), value.GetString()));
   }
   compareTable("pairs", std::move(statuses), std::move(pairs), startsWithKey);
}

void ModelClient::compareTable(char const* name, std::vector<std::string> actual, std::vector<std::string> expected,
                               std::function<bool(std::string const&)> const& isOurs) {
   std::erase_if(actual, [&](auto const& line) { return !isOurs(line); });
   std::ranges::sort(actual);
   std::ranges::sort(expected);
   if (actual == expected) return;
   std::vector<std::string> surplus;
   std::vector<std::string> missing;
   std::ranges::set_difference(actual, expected, std::back_inserter(surplus));
   std::ranges::set_difference(expected, actual, std::back_inserter(missing));
   findings_.add(fmt::format("model, {}: the switch has [{}], and lacks [{}]", name, fmt::join(surplus, ", "),
                             fmt::join(missing, ", ")));
}

}  // namespace VelmSdkRpc::storm
