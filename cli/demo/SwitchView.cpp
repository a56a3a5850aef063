#include "cli/demo/SwitchView.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <stdexcept>
#include <utility>

#include "cli/demo/Call.h"

namespace VelmSdkRpc::demo {
namespace {

using Json = rapidjson::Value;

rapidjson::Document parse(std::string const& text) {
   rapidjson::Document document;
   document.Parse(text.data(), text.size());
   if (document.HasParseError() || !document.IsObject()) throw std::runtime_error("not a JSON object: " + text);
   return document;
}

// RapidJSON asserts that a member is there and of the type asked for; an answer is not to be trusted so far.
template <class T>
T get(Json const& object, char const* key) {
   if (object.IsObject()) {
      auto const member = object.FindMember(key);
      if (member != object.MemberEnd() && member->value.Is<T>()) return member->value.Get<T>();
   }
   throw std::runtime_error(fmt::format("the switch's answer has no fitting member {}", key));
}
std::string text(Json const& object, char const* key) { return get<char const*>(object, key); }
Json::ConstArray list(Json const& object, char const* key) { return get<Json::ConstArray>(object, key); }
Json::ConstObject members(Json const& object, char const* key) { return get<Json::ConstObject>(object, key); }

Json const& child(Json const& object, char const* key) {
   members(object, key);
   return object.FindMember(key)->value;
}

Route routeOf(Json const& row) {
   Route route{.prefix = text(child(row, "key"), "prefix"), .group = {}, .tag = get<unsigned>(row, "tag")};
   for (auto const& via : list(row, "vias")) route.group = text(via, "nexthop_group");
   return route;
}

Hop hopOf(Json const& entry) {
   Hop hop{.intf = text(entry, "intf"), .neighbour = text(entry, "nexthop")};
   for (auto const& label : list(child(entry, "mpls_action"), "label_stack")) hop.label = label.Get<unsigned>();
   return hop;
}

GroupState groupOf(Json const& row) {
   GroupState group{.name = text(row, "name"),
                    .active = get<bool>(row, "active"),
                    .version = get<unsigned>(row, "version"),
                    .hops = {}};
   Hop previous;
   for (auto const& [index, entry] : members(row, "nexthops")) {
      auto const hop = hopOf(entry);
      if (!group.hops.empty() && hop == previous) {
         ++group.hops.back().weight;
      } else {
         group.hops.push_back(hop);
      }
      previous = hop;
   }
   return group;
}

}  // namespace

SwitchView::SwitchView(std::shared_ptr<grpc::Channel> const& channel)
   : stub_(velm::remote::VapiMgrService::NewStub(channel)) {}

std::size_t SwitchView::routeCount() { return get<std::uint64_t>(parse(show("show ip route summary")), "count"); }

std::vector<Route> SwitchView::routes(std::string const& prefix) {
   auto const answer = parse(show(prefix.empty() ? "show ip route" : "show ip route " + prefix));
   std::vector<Route> routes;
   for (auto const& row : list(answer, "routes")) routes.push_back(routeOf(row));
   return routes;
}

std::vector<GroupState> SwitchView::groups() {
   auto const answer = parse(show("show nexthop-group"));
   std::vector<GroupState> groups;
   for (auto const& [name, row] : members(answer, "nexthop_groups")) groups.push_back(groupOf(row));
   return groups;
}

std::string SwitchView::show(std::string const& command) {
   velm::remote::RunShowCmdRequest request;
   request.set_command(command);
   auto answer = call(*stub_, &velm::remote::VapiMgrService::Stub::run_show_cmd, request);
   auto& response = *answer.mutable_response();
   if (!response.success() || response.responses_size() != 1) {
      throw std::runtime_error(fmt::format("{}: {}", command, response.error_message()));
   }
   return std::move(*response.mutable_responses(0));
}

}  // namespace VelmSdkRpc::demo
