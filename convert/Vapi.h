#pragma once

#include "proto/remote/vapi.pb.h"

namespace velm {
class vapi_response_t;
}

namespace VelmSdkRpc::types {

/// The outcome of commands as the wire shows it, field by field.
velm::remote::VapiResponse convert(velm::vapi_response_t& response);

}  // namespace VelmSdkRpc::types
