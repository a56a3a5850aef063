#pragma once

#include <string_view>

#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc::ctl {

/// A nexthop as it is typed: "[ADDRESS@]INTERFACE" or "ADDRESS", then in any order ",push=LABEL/LABEL", ",pop" or
/// ",swap=LABEL", and ",weight=N", which is how many entries of a group it takes, one unless told. For example
/// "10.0.0.1@Ethernet1,push=1001/1002". Throws UsageError for any other text.
pb::nexthop_msg nexthopOf(std::string_view text);

}  // namespace VelmSdkRpc::ctl
