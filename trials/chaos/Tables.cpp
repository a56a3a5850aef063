#include "trials/chaos/Tables.h"

#include <fmt/format.h>

#include "tests/support/SwitchLines.h"

namespace VelmSdkRpc::chaos {
namespace {

using Json = rapidjson::Document;

Json ask(storm::Console const& console, char const* command) {
   Json json;
   json.Parse(console.show(command).c_str());
   return json;
}

// The routes that routeLines does not see.
void addBareRoutes(Tables& tables, Json const& json) {
   for (auto const& route : json["routes"].GetArray()) {
      if (route["vias"].Empty()) tables[fmt::format("route {}", route["key"]["prefix"].GetString())] = "";
   }
}

void addSessions(Tables& tables, Json const& json) {
   for (auto const& row : json["sessions"].GetArray()) {
      tables[fmt::format("session {}/{}", row["key"]["nexthop_intf"].GetString(), row["key"]["labels"][0].GetUint())] =
         fmt::format("{}x{} {}", row["min_tx"].GetUint(), row["multiplier"].GetUint(), row["rtt_enabled"].GetBool());
   }
}

struct Acl {
   std::string match;
   std::string values;
};

// By "name/type".
std::map<std::string, Acl> aclsOf(Json const& json) {
   std::map<std::string, Acl> acls;
   for (auto const& acl : json["acls"].GetArray()) {
      auto& [match, values] = acls[fmt::format("{}/{}", acl["acl_name"].GetString(), acl["acl_type"].GetUint())];
      for (auto const& [sequence, rule] : acl["rules"].GetObject()) {
         match = rule["nexthop_group"].GetString();
         values += fmt::format("{}{}", values.empty() ? "" : ",", rule["priority_value"].GetUint());
      }
   }
   return acls;
}

// A redirect is a rule of a policy map with all that it names: its class map, and of that the ACLs.
void addRedirects(Tables& tables, storm::Console const& console) {
   auto const acls = aclsOf(ask(console, "show acl"));
   std::map<std::string, Acl> classMaps;
   auto const classes = ask(console, "show class-map");
   for (auto const& classMap : classes["class_maps"].GetArray()) {
      auto& [match, values] = classMaps[classMap["key"]["name"].GetString()];
      for (auto const& [sequence, rule] : classMap["rules"].GetObject()) {
         auto const& key = rule["acl_key"];
         auto const acl = acls.find(fmt::format("{}/{}", key["acl_name"].GetString(), key["acl_type"].GetUint()));
         values += key["acl_type"].GetUint() == 2 ? "/" : "";
         if (acl == acls.end()) continue;
         values += acl->second.values;
         if (!acl->second.match.empty()) match = acl->second.match;
      }
   }
   auto const policies = ask(console, "show policy-map");
   for (auto const& policyMap : policies["policy_maps"].GetArray()) {
      for (auto const& [sequence, rule] : policyMap["rules"].GetObject()) {
         // Of a removal that came to an end half way a rule is left, until the policy map is written next.
         auto const classMap = classMaps.find(rule["class_map_key"]["name"].GetString());
         if (classMap == classMaps.end()) continue;
         auto const& [match, values] = classMap->second;
         tables[fmt::format("redirect {} {}", match, rule["actions"][0]["nexthop_group_name"].GetString())] = values;
      }
   }
}

}  // namespace

std::string textOf(Element const& element) {
   return std::visit([](auto const& request) { return request.GetTypeName() + " " + request.ShortDebugString(); },
                     element);
}

void addLines(Tables& tables, char const* kind, std::vector<std::string> const& lines) {
   for (auto const& line : lines) {
      auto const end = std::min(line.find(' '), line.size());
      auto const rest = line.substr(std::min(end + 1, line.size()));
      auto const [it, fresh] = tables.try_emplace(fmt::format("{} {}", kind, line.substr(0, end)), rest);
      if (!fresh) it->second += '|' + rest;
   }
}

Tables tablesOf(storm::Console const& console) {
   Tables tables;
   addLines(tables, "group", groupLines(ask(console, "show nexthop-group")));
   auto const routes = ask(console, "show ip route");
   addLines(tables, "route", routeLines(routes));
   addBareRoutes(tables, routes);
   addLines(tables, "tunnel", tunnelLines(ask(console, "show nexthop-group tunnel")));
   addLines(tables, "label", labelLines(ask(console, "show mpls route")));
   addSessions(tables, ask(console, "show sbfd echo"));
   addRedirects(tables, console);
   auto const agent = ask(console, "show agent");
   for (auto const& [key, value] : agent["statuses"].GetObject()) {
      if (!std::string(key.GetString()).starts_with("VelmSdkRpc-")) {
         tables[fmt::format("pair {}", key.GetString())] = value.GetString();
      }
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

}  // namespace VelmSdkRpc::chaos
