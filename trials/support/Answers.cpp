#include "trials/support/Answers.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "proto/remote/rpc_status.pb.h"

namespace VelmSdkRpc::trials {
namespace {

using google::protobuf::Message;
using grpc::StatusCode;

bool isNative(google::protobuf::MethodDescriptor const& method) {
   return method.service()->name() == "velmsdk_service";
}

// UNKNOWN is a failure outside the switch: what makes it is no request's fault.
bool isRefusal(int code) {
   static constexpr std::array codes{StatusCode::INVALID_ARGUMENT, StatusCode::OUT_OF_RANGE,
                                     StatusCode::FAILED_PRECONDITION, StatusCode::UNIMPLEMENTED, StatusCode::INTERNAL};
   return std::ranges::find(codes, code) != codes.end();
}

int elementsOf(Message const& message) {
   auto const& type = *message.GetDescriptor();
   if (type.field_count() == 0 || !type.field(0)->is_repeated()) return 0;
   return message.GetReflection()->FieldSize(message, type.field(0));
}

std::string faultOfNativeBulk(Message const& request, Message const& answer) {
   if (elementsOf(request) == elementsOf(answer)) return {};
   return fmt::format("{} statuses for {} elements", elementsOf(answer), elementsOf(request));
}

std::string faultOfMirrorBulk(Message const& request, Message const& answer) {
   auto const& type = *answer.GetDescriptor();
   auto const& reflection = *answer.GetReflection();
   auto const& status = dynamic_cast<velm::remote::RpcResponseStatus const&>(
      reflection.GetMessage(answer, type.FindFieldByName("status")));
   auto const count = reflection.GetUInt64(answer, type.FindFieldByName("count"));
   auto const size = static_cast<std::uint64_t>(elementsOf(request));
   bool const allDone = status.code() == velm::remote::RPC_STATUS_CODE_OK;
   if (allDone ? count == size && status.error_string().empty() : count < size && isRefusal(status.code())) return {};
   return fmt::format("{} of {} elements, status {} {}", count, size, static_cast<int>(status.code()),
                      status.error_string());
}

std::string faultOfAnswer(CallStory const& story) {
   if (story.method.server_streaming()) {
      return staysOpen(story.method) ? "a watch has ended by itself" : std::string();
   }
   if (story.messages != 1) return fmt::format("{} answers", story.messages);
   auto const& name = story.method.name();
   if (isNative(story.method)) {
      return name.ends_with("_bulk") || name == "get_rpc_server_state" ? faultOfNativeBulk(story.request, *story.last)
                                                                       : std::string();
   }
   return name.starts_with("bulk_") ? faultOfMirrorBulk(story.request, *story.last) : std::string();
}

std::string reasonOf(CallStory const& story) {
   if (story.last != nullptr && !story.last->GetReflection()->GetUnknownFields(*story.last).empty()) {
      return "an answer of another type";
   }
   auto const code = story.status.error_code();
   if (code == StatusCode::OK) return faultOfAnswer(story);
   if ((code == StatusCode::CANCELLED || code == StatusCode::DEADLINE_EXCEEDED) && story.givenUp) return {};
   bool const mayBeRefused = !isNative(story.method) && isRefusal(code) && !story.status.error_message().empty();
   return mayBeRefused ? std::string() : fmt::format("status {} {}", code, story.status.error_message());
}

}  // namespace

bool isNeverReleased(google::protobuf::MethodDescriptor const& method) {
   return method.name() == "bulk_description_is";
}

bool staysOpen(google::protobuf::MethodDescriptor const& method) {
   return method.name().starts_with("watch") || isNeverReleased(method);
}

std::string faultOf(CallStory const& story) {
   auto reason = reasonOf(story);
   if (reason.empty()) return {};
   return fmt::format("{}.{} {{ {}}}: {}", story.method.service()->name(), story.method.name(),
                      story.request.ShortDebugString().substr(0, 400), reason);
}

}  // namespace VelmSdkRpc::trials
