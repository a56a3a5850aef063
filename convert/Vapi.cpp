#include "convert/Vapi.h"

#include "platform/velm/vapi.h"

namespace VelmSdkRpc::types {

velm::remote::VapiResponse convert(velm::vapi_response_t& response) {
   velm::remote::VapiResponse message;
   message.set_success(response.success());
   message.set_error_code(response.error_code());
   message.set_error_message(response.error_message());
   message.mutable_responses()->Assign(response.responses().begin(), response.responses().end());
   message.set_raw_response(response.raw_response());
   return message;
}

}  // namespace VelmSdkRpc::types
