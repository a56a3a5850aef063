#pragma once

#include <google/protobuf/message.h>

#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc::ctl {

/// Throws Refused for an answer of the native service or of the command line that says no, in part or as a whole, and
/// CallError for one of a mirror's bulk method.
void throwIfRefused(google::protobuf::Message const& answer);

bool isRefused(pb::rpc_status_msg const& status);
/// "STATUS_ERROR: route not found"
std::string textOf(pb::rpc_status_msg const& status);

}  // namespace VelmSdkRpc::ctl
