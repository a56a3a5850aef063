#include "clients/demo/SwitchView.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>

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
T as(Json const* value, char const* key) {
   if (value != nullptr && value->Is<T>()) return value->Get<T>();
   throw std::runtime_error(fmt::format("the switch's answer has no fitting member {}", key));
}

template <class T>
T get(Json const& object, char const* key) {
   if (!object.IsObject()) return as<T>(nullptr, key);
   auto const member = object.FindMember(key);
   return as<T>(member == object.MemberEnd() ? nullptr : &member->value, key);
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
   for (auto const& label : list(child(entry, "mpls_action"), "label_stack")) {
      hop.label = as<unsigned>(&label, "label_stack");
   }
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

// The rows of a list, each made of one element.
template <class Row>
std::vector<Row> rowsOf(Json const& answer, char const* key, Row (*rowOf)(Json const&)) {
   std::vector<Row> rows;
   for (auto const& element : list(answer, key)) rows.push_back(rowOf(element));
   return rows;
}

LabelAction actionOf(Json const& via) {
   auto const number = get<unsigned>(via, "label_action");
   if (number < static_cast<unsigned>(LabelAction::push) || number > static_cast<unsigned>(LabelAction::forward)) {
      throw std::runtime_error(fmt::format("the switch's answer has an unknown label_action {}", number));
   }
   return static_cast<LabelAction>(number);
}

LabelRoute labelOf(std::uint32_t label, Json const& via) {
   auto const group = text(via, "nexthop_group");
   if (!group.empty()) return {label, ToGroup{actionOf(via), group}};
   Hop const hop{
      .intf = text(via, "intf"), .neighbour = text(via, "hop"), .label = get<unsigned>(via, "pushswap_label")};
   return {label, ToNexthop{actionOf(via), hop}};
}

LabelRoute vrfLabelOf(Json const& row) { return {get<unsigned>(row, "label"), ToVrf{text(row, "vrf_name")}}; }

Tunnel tunnelOf(Json const& row) {
   return {.endpoint = text(row, "tunnel_endpoint"),
           .group = text(row, "nhg_name"),
           .metric = get<unsigned>(row, "igp_metric")};
}

SessionState sessionOf(Json const& row) {
   auto const& key = child(row, "key");
   SessionState session{.key = {.intf = text(key, "nexthop_intf"), .neighbour = text(key, "nexthop"), .labels = {}},
                        .minTx = get<unsigned>(row, "min_tx"),
                        .multiplier = get<unsigned>(row, "multiplier"),
                        .rtt = get<bool>(row, "rtt_enabled"),
                        .status = static_cast<SessionStatus>(get<unsigned>(row, "status"))};
   for (auto const& label : list(key, "labels")) session.key.labels.push_back(as<unsigned>(&label, "labels"));
   return session;
}

AclKey aclOf(Json const& key) { return {text(key, "acl_name"), static_cast<AclType>(get<unsigned>(key, "acl_type"))}; }

std::uint32_t numberOf(Json const& key) {
   std::uint32_t number = 0;
   auto const* const end = key.GetString() + key.GetStringLength();
   if (std::from_chars(key.GetString(), end, number).ptr != end) {
      throw std::runtime_error(fmt::format("the switch's answer has a key {} that is no number", key.GetString()));
   }
   return number;
}

// The rules of all elements of a list: each element is a map or an ACL, with its rules by sequence number.
template <class Rule>
std::vector<Rule> rulesOf(Json const& answer, char const* key,
                          Rule (*ruleOf)(Json const& owner, std::uint32_t sequence, Json const& rule)) {
   std::vector<Rule> rules;
   for (auto const& owner : list(answer, key)) {
      for (auto const& [sequence, rule] : members(owner, "rules")) {
         rules.push_back(ruleOf(owner, numberOf(sequence), rule));
      }
   }
   return rules;
}

PolicyRule policyRuleOf(Json const& policyMap, std::uint32_t sequence, Json const& rule) {
   PolicyRule row{.policyMap = text(child(policyMap, "key"), "name"),
                  .sequence = sequence,
                  .classMap = text(child(rule, "class_map_key"), "name"),
                  .group = {}};
   for (auto const& action : list(rule, "actions")) row.group += text(action, "nexthop_group_name");
   return row;
}

ClassRule classRuleOf(Json const& classMap, std::uint32_t sequence, Json const& rule) {
   return {text(child(classMap, "key"), "name"), sequence, aclOf(child(rule, "acl_key"))};
}

AclRule aclRuleOf(Json const& acl, std::uint32_t sequence, Json const& rule) {
   return {.acl = aclOf(acl),
           .sequence = sequence,
           .group = text(rule, "nexthop_group"),
           .priority = get<unsigned>(rule, "priority_value"),
           .mask = get<unsigned>(rule, "priority_mask")};
}

}  // namespace

SwitchView::SwitchView(std::shared_ptr<grpc::Channel> const& channel) : commands_(channel) {}

std::size_t SwitchView::routeCount() {
   return get<std::uint64_t>(parse(commands_.show("show ip route summary")), "count");
}

std::vector<Route> SwitchView::routes(std::string const& prefix) {
   return rowsOf(parse(commands_.show(prefix.empty() ? "show ip route" : "show ip route " + prefix)), "routes",
                 routeOf);
}

std::vector<GroupState> SwitchView::groups() {
   auto const answer = parse(commands_.show("show nexthop-group"));
   std::vector<GroupState> groups;
   for (auto const& [name, row] : members(answer, "nexthop_groups")) groups.push_back(groupOf(row));
   return groups;
}

std::vector<LabelRoute> SwitchView::labels() {
   auto const answer = parse(commands_.show("show mpls route"));
   auto labels = rowsOf(answer, "vrf_labels", vrfLabelOf);
   for (auto const& row : list(answer, "routes")) {
      for (auto const& label : list(child(row, "key"), "labels")) {
         for (auto const& via : list(row, "vias")) labels.push_back(labelOf(as<unsigned>(&label, "labels"), via));
      }
   }
   std::ranges::sort(labels);
   return labels;
}

std::vector<Tunnel> SwitchView::tunnels() {
   return rowsOf(parse(commands_.show("show nexthop-group tunnel")), "tunnels", tunnelOf);
}

std::vector<SessionState> SwitchView::sessions() {
   return rowsOf(parse(commands_.show("show sbfd echo")), "sessions", sessionOf);
}

RedirectTables SwitchView::redirects() {
   return {rulesOf(parse(commands_.show("show policy-map")), "policy_maps", policyRuleOf),
           rulesOf(parse(commands_.show("show class-map")), "class_maps", classRuleOf),
           rulesOf(parse(commands_.show("show acl")), "acls", aclRuleOf)};
}

std::vector<Pair> SwitchView::statuses(std::string_view prefix) {
   auto const answer = parse(commands_.show("show agent"));
   std::vector<Pair> statuses;
   for (auto const& [key, value] : members(answer, "statuses")) {
      std::string const name = key.GetString();
      if (name.starts_with(prefix)) statuses.push_back({name, as<char const*>(&value, "statuses")});
   }
   std::ranges::sort(statuses);
   return statuses;
}

std::vector<CallCount> SwitchView::calls() {
   auto const answer = parse(commands_.show("show switch calls"));
   std::vector<CallCount> calls;
   for (auto const& [operation, count] : members(answer, "calls")) {
      calls.push_back({operation.GetString(), as<std::uint64_t>(&count, "calls")});
   }
   std::ranges::sort(calls);
   return calls;
}

}  // namespace VelmSdkRpc::demo
