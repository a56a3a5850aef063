#include "tests/support/SwitchTables.h"

#include <fmt/format.h>

#include <vector>

namespace VelmSdkRpc {
namespace {

using Json = rapidjson::Document;

Json ask(Show const& show, char const* command) {
   Json json;
   json.Parse(show(command).c_str());
   return json;
}

void add(Tables& tables, std::string const& key, std::string const& text) {
   auto const [it, fresh] = tables.try_emplace(key, text);
   if (!fresh) it->second += '|' + text;
}

void addRoutes(Tables& tables, Json const& json) {
   for (auto const& route : json["routes"].GetArray()) {
      auto const key = fmt::format("route {}", route["key"]["prefix"].GetString());
      for (auto const& via : route["vias"].GetArray()) {
         add(tables, key, fmt::format("{} {}", via["nexthop_group"].GetString(), route["tag"].GetUint()));
      }
      tables.try_emplace(key);
   }
}

void addLabels(Tables& tables, Json const& json) {
   for (auto const& route : json["routes"].GetArray()) {
      auto const& labels = route["key"]["labels"];
      auto const key = fmt::format("label {}", labels.Empty() ? "none" : std::to_string(labels[0].GetUint()));
      for (auto const& via : route["vias"].GetArray()) {
         add(tables, key,
             fmt::format("{} {} {} hop={} intf={} group={}", via["label_action"].GetUint(),
                         via["pushswap_label"].GetUint(), via["payload_type"].GetUint(), via["hop"].GetString(),
                         via["intf"].GetString(), via["nexthop_group"].GetString()));
      }
      if (route["vias"].Empty()) add(tables, key, "");
   }
   for (auto const& entry : json["vrf_labels"].GetArray()) {
      add(tables, fmt::format("label {}", entry["label"].GetUint()), entry["vrf_name"].GetString());
   }
}

void addSessions(Tables& tables, Json const& json) {
   for (auto const& row : json["sessions"].GetArray()) {
      auto const& key = row["key"];
      auto const label = key["labels"].Empty() ? 0 : key["labels"][0].GetUint();
      tables[fmt::format("session {}/{}", key["nexthop_intf"].GetString(), label)] =
         fmt::format("{}x{} {}", row["min_tx"].GetUint(), row["multiplier"].GetUint(), row["rtt_enabled"].GetBool());
   }
}

struct Acl {
   std::string match;
   std::string values;
};
using Acls = std::map<std::string, Acl>;

std::string nameOf(rapidjson::Value const& acl) {
   return fmt::format("{}/{}", acl["acl_name"].GetString(), acl["acl_type"].GetUint());
}

Acls aclsOf(Json const& json) {
   Acls acls;
   for (auto const& acl : json["acls"].GetArray()) {
      auto& [match, values] = acls[nameOf(acl)];
      for (auto const& [sequence, rule] : acl["rules"].GetObject()) {
         match = rule["nexthop_group"].GetString();
         values += fmt::format("{}{}", values.empty() ? "" : ",", rule["priority_value"].GetUint());
      }
   }
   return acls;
}

// A class map stands for the ACLs that it names.
Acls classMapsOf(Json const& json, Acls const& acls) {
   Acls classMaps;
   for (auto const& classMap : json["class_maps"].GetArray()) {
      auto& [match, values] = classMaps[classMap["key"]["name"].GetString()];
      for (auto const& [sequence, rule] : classMap["rules"].GetObject()) {
         auto const acl = acls.find(nameOf(rule["acl_key"]));
         values += rule["acl_key"]["acl_type"].GetUint() == 2 ? "/" : "";
         if (acl == acls.end()) continue;
         values += acl->second.values;
         if (!acl->second.match.empty()) match = acl->second.match;
      }
   }
   return classMaps;
}

void addRedirects(Tables& tables, Show const& show) {
   auto const classMaps = classMapsOf(ask(show, "show class-map"), aclsOf(ask(show, "show acl")));
   auto const policies = ask(show, "show policy-map");
   for (auto const& policyMap : policies["policy_maps"].GetArray()) {
      for (auto const& [sequence, rule] : policyMap["rules"].GetObject()) {
         // A removal that was cut short leaves a rule without its class map until the policy map is written next.
         auto const classMap = classMaps.find(rule["class_map_key"]["name"].GetString());
         if (classMap == classMaps.end() || rule["actions"].Empty()) continue;
         auto const& [match, values] = classMap->second;
         tables[fmt::format("redirect {} {}", match, rule["actions"][0]["nexthop_group_name"].GetString())] = values;
      }
   }
}

}  // namespace

Tables tablesOf(Show const& show) {
   Tables tables;
   auto const groups = ask(show, "show nexthop-group");
   for (auto const& [name, group] : groups["nexthop_groups"].GetObject()) {
      tables[fmt::format("group {}", name.GetString())] = std::to_string(group["nexthops"].MemberCount());
   }
   addRoutes(tables, ask(show, "show ip route"));
   auto const tunnels = ask(show, "show nexthop-group tunnel");
   for (auto const& tunnel : tunnels["tunnels"].GetArray()) {
      tables[fmt::format("tunnel {}", tunnel["tunnel_endpoint"].GetString())] =
         fmt::format("{} {}", tunnel["nhg_name"].GetString(), tunnel["igp_metric"].GetUint());
   }
   addLabels(tables, ask(show, "show mpls route"));
   addSessions(tables, ask(show, "show sbfd echo"));
   addRedirects(tables, show);
   auto const agent = ask(show, "show agent");
   for (auto const& [key, value] : agent["statuses"].GetObject()) {
      bool const isAgents = std::string(key.GetString()).starts_with("VelmSdkRpc-");
      if (!isAgents) tables[fmt::format("pair {}", key.GetString())] = value.GetString();
   }
   return tables;
}

std::string differenceOf(Tables const& found, Tables const& expected) {
   std::string text;
   for (auto const& [key, value] : expected) {
      auto const it = found.find(key);
      if (value == anything || (it != found.end() && it->second == value)) continue;
      text +=
         fmt::format("{} is {}, not '{}'\n", key, it == found.end() ? "not there" : '\'' + it->second + '\'', value);
   }
   for (auto const& [key, value] : found) {
      if (!expected.contains(key)) text += fmt::format("{} is '{}' and should not be there\n", key, value);
   }
   return text;
}

}  // namespace VelmSdkRpc
