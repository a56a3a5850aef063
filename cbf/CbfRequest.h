#pragma once

#include <string>

#include "cbf/CbfRedirect.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

/// The fault of the request, in the words of its answer: the first fault, or an empty text if there is none. The
/// groups come first, then the values; a deletion needs no values, and bad ones are no fault of it.
std::string faultOf(pb::cbf_nexthop_group_redirect_msg const& request);

CbfRedirectKey keyOf(pb::cbf_nexthop_group_redirect_msg const& request);
/// The values of a request that has no fault: each fits a byte.
CbfDscpValues dscpValuesOf(pb::cbf_nexthop_group_redirect_msg const& request);

}  // namespace VelmSdkRpc
