#pragma once

#include <string>

#include "cbf/CbfRedirect.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

/// What is wrong with the request, as its answer tells it; empty for nothing. A deletion needs nothing but its groups.
std::string faultOf(pb::cbf_nexthop_group_redirect_msg const& request);

CbfRedirectKey keyOf(pb::cbf_nexthop_group_redirect_msg const& request);
/// Of a request without fault.
CbfDscpValues dscpValuesOf(pb::cbf_nexthop_group_redirect_msg const& request);

}  // namespace VelmSdkRpc
