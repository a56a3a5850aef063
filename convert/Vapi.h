#pragma once

#include "proto/remote/vapi.pb.h"

namespace velm {
class vapi_response_t;
}

namespace VelmSdkRpc::types {

/// The outcome of commands of the switch's command line: a command that failed is no error here, but stands in the
/// message with its code and text.
velm::remote::VapiResponse convert(velm::vapi_response_t& response);

}  // namespace VelmSdkRpc::types
