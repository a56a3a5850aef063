#include "clients/velmctl/Refusal.h"

#include <fmt/format.h>

#include <algorithm>

#include "clients/support/Call.h"
#include "clients/velmctl/Errors.h"
#include "proto/remote/rpc_status.pb.h"
#include "proto/remote/vapi.pb.h"

// An answer can say no in four ways, by the service that gives it: a status, a status for each element, a command
// line's success, or the status of a bulk. They are found by their types, in the answer itself or one level within it,
// so that no list of methods is needed.
namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

void check(pb::rpc_status_msg const& status) {
   if (isRefused(status)) throw Refused(textOf(status));
}

void check(pb::rpc_status_bulk_msg const& answer) {
   auto const& statuses = answer.status();
   auto const first = std::ranges::find_if(statuses, isRefused);
   if (first == statuses.end()) return;
   throw Refused(fmt::format("{} of {} elements refused, the first at index {}: {}",
                             std::ranges::count_if(statuses, isRefused), statuses.size(), first - statuses.begin(),
                             textOf(*first)));
}

void check(velm::remote::VapiResponse const& answer) {
   if (!answer.success()) throw Refused(answer.error_message());
}

void check(velm::remote::RpcResponseStatus const& status) {
   if (status.code() != 0) {
      throw CallError(grpc::Status(static_cast<grpc::StatusCode>(status.code()), status.error_string()));
   }
}

template <class... Types>
void checkAs(Message const& message) {
   auto const checkIf = [](auto const* answer) {
      if (answer != nullptr) check(*answer);
   };
   (checkIf(dynamic_cast<Types const*>(&message)), ...);
}

}  // namespace

void throwIfRefused(Message const& answer) {
   checkAs<pb::rpc_status_msg, pb::rpc_status_bulk_msg>(answer);
   auto const& type = *answer.GetDescriptor();
   for (int i = 0; i < type.field_count(); ++i) {
      auto const& field = *type.field(i);
      if (field.is_repeated() || field.cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) continue;
      auto const& part = answer.GetReflection()->GetMessage(answer, &field);
      checkAs<pb::rpc_status_msg, velm::remote::VapiResponse, velm::remote::RpcResponseStatus>(part);
   }
}

bool isRefused(pb::rpc_status_msg const& status) { return status.status() != pb::rpc_status_msg::STATUS_SUCCESS; }

std::string textOf(pb::rpc_status_msg const& status) {
   auto const& name = pb::rpc_status_msg::rpc_status_value_enum_Name(status.status());
   return status.debug_string().empty() ? name : fmt::format("{}: {}", name, status.debug_string());
}

}  // namespace VelmSdkRpc::ctl
