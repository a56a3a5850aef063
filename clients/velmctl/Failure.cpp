#include "clients/velmctl/Failure.h"

#include <string_view>

#include "clients/support/Call.h"
#include "clients/velmctl/Errors.h"

namespace VelmSdkRpc::ctl {
namespace {

struct Meaning {
   std::string_view kind;
   int exitStatus;
};

Meaning meaningOf(std::exception const& exception) {
   if (dynamic_cast<UsageError const*>(&exception) != nullptr) return {"usage", ExitStatus::usage};
   if (dynamic_cast<Refused const*>(&exception) != nullptr) return {"refused", ExitStatus::refused};
   if (dynamic_cast<Interrupted const*>(&exception) != nullptr) return {"interrupted", ExitStatus::interrupted};
   return {"local", ExitStatus::local};
}

}  // namespace

Failure failureOf(std::exception const& exception) {
   Failure failure{exception.what(), 0, JsonDocument(rapidjson::kObjectType)};
   auto& allocator = failure.error.GetAllocator();
   if (auto const* const call = dynamic_cast<CallError const*>(&exception)) {
      auto const& status = call->status();
      failure.exitStatus = ExitStatus::call + status.error_code();
      addMember(failure.error, "kind", "call", allocator);
      addMember(failure.error, "code", Json(static_cast<int>(status.error_code())), allocator);
      addMember(failure.error, "status", statusName(status.error_code()), allocator);
      addMember(failure.error, "message", status.error_message(), allocator);
   } else {
      auto const [kind, exitStatus] = meaningOf(exception);
      failure.exitStatus = exitStatus;
      addMember(failure.error, "kind", kind, allocator);
      addMember(failure.error, "message", failure.message, allocator);
   }
   return failure;
}

}  // namespace VelmSdkRpc::ctl
