#include "tests/support/SwitchLines.h"

#include <fmt/format.h>

namespace VelmSdkRpc {

std::vector<std::string> groupLines(rapidjson::Document const& json) {
   std::vector<std::string> lines;
   for (auto const& [name, group] : json["nexthop_groups"].GetObject()) {
      lines.push_back(fmt::format("{} {}", name.GetString(), group["nexthops"].MemberCount()));
   }
   return lines;
}

std::vector<std::string> routeLines(rapidjson::Document const& json) {
   std::vector<std::string> lines;
   for (auto const& route : json["routes"].GetArray()) {
      for (auto const& via : route["vias"].GetArray()) {
         lines.push_back(fmt::format("{} {} {}", route["key"]["prefix"].GetString(), via["nexthop_group"].GetString(),
                                     route["tag"].GetUint()));
      }
   }
   return lines;
}

std::vector<std::string> tunnelLines(rapidjson::Document const& json) {
   std::vector<std::string> lines;
   for (auto const& tunnel : json["tunnels"].GetArray()) {
      lines.push_back(fmt::format("{} {} {}", tunnel["tunnel_endpoint"].GetString(), tunnel["nhg_name"].GetString(),
                                  tunnel["igp_metric"].GetUint()));
   }
   return lines;
}

std::vector<std::string> labelLines(rapidjson::Document const& json) {
   std::vector<std::string> lines;
   for (auto const& route : json["routes"].GetArray()) {
      auto const& labels = route["key"]["labels"];
      auto const label = labels.Empty() ? std::string("none") : std::to_string(labels[0].GetUint());
      for (auto const& via : route["vias"].GetArray()) {
         lines.push_back(fmt::format("{} {} {} {} hop={} intf={} group={}", label, via["label_action"].GetUint(),
                                     via["pushswap_label"].GetUint(), via["payload_type"].GetUint(),
                                     via["hop"].GetString(), via["intf"].GetString(),
                                     via["nexthop_group"].GetString()));
      }
      if (route["vias"].Empty()) lines.push_back(label);
   }
   for (auto const& entry : json["vrf_labels"].GetArray()) {
      lines.push_back(fmt::format("{} {}", entry["label"].GetUint(), entry["vrf_name"].GetString()));
   }
   return lines;
}

}  // namespace VelmSdkRpc
