#pragma once

#include <rapidjson/document.h>

#include <string>
#include <vector>

namespace VelmSdkRpc {

// The switch's tables as lines, from the JSON of the show command that each names.

/// `show nexthop-group`: "g 3", with the number of entries.
std::vector<std::string> groupLines(rapidjson::Document const& json);
/// `show ip route`: "10.0.0.0/8 g 7" for each via, with the route's tag.
std::vector<std::string> routeLines(rapidjson::Document const& json);
/// `show nexthop-group tunnel`: "192.0.2.1/32 group 5", with the metric.
std::vector<std::string> tunnelLines(rapidjson::Document const& json);
/// `show mpls route`: "100 red" for a lookup in a VRF; for each via
/// "100 ACTION LABEL PAYLOAD hop=ADDR intf=NAME group=NAME", enums as numbers; "100" alone for a route without a via.
std::vector<std::string> labelLines(rapidjson::Document const& json);

}  // namespace VelmSdkRpc
