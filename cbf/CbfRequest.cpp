#include "cbf/CbfRequest.h"

#include <fmt/format.h>

#include <algorithm>

namespace VelmSdkRpc {
namespace {

using Request = pb::cbf_nexthop_group_redirect_msg;
using Wire = google::protobuf::RepeatedField<std::uint32_t>;

constexpr std::uint32_t maxDscp = 63;

CbfDscpValues::Values sorted(Wire const& wire) {
   CbfDscpValues::Values values(wire.begin(), wire.end());
   std::ranges::sort(values);
   return values;
}

std::string faultOf(char const* field, Wire const& dscps) {
   auto const it = std::ranges::find_if(dscps, [](std::uint32_t dscp) { return dscp > maxDscp; });
   return it == dscps.end() ? std::string() : fmt::format("Error: {} contain invalid DSCP value {}", field, *it);
}

}  // namespace

// The order of the checks decides which fault a client reads. A deletion is done before the values are looked at.
std::string faultOf(Request const& request) {
   if (request.match_nexthop_group_name().empty()) return "Error: match_nexthop_group_name required";
   if (request.redirect_nexthop_group_name().empty()) return "Error: redirect_nexthop_group_name required";
   if (request.request_delete()) return {};
   auto const& ipv4 = request.match_ipv4_dscp();
   auto const& ipv6 = request.match_ipv6_dscp();
   if (ipv4.empty() && ipv6.empty()) return "Error: match_ipv4_dscp or match_ipv6_dscp must be specified";
   auto fault = faultOf("match_ipv4_dscp", ipv4);
   return fault.empty() ? faultOf("match_ipv6_dscp", ipv6) : fault;
}

CbfRedirectKey keyOf(Request const& request) {
   return {request.match_nexthop_group_name(), request.redirect_nexthop_group_name()};
}

CbfDscpValues dscpValuesOf(Request const& request) {
   return {sorted(request.match_ipv4_dscp()), sorted(request.match_ipv6_dscp())};
}

}  // namespace VelmSdkRpc
