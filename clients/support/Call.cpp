#include "clients/support/Call.h"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace VelmSdkRpc {

CallError::CallError(grpc::Status status, std::string const& what)
   : std::runtime_error(fmt::format("{}{}{}: {}", what, what.empty() ? "" : ": ", statusName(status.error_code()),
                                    status.error_message())),
     status_(std::move(status)) {}

std::string statusName(grpc::StatusCode code) {
   static constexpr std::array names{
      "OK",        "CANCELLED",      "UNKNOWN",           "INVALID_ARGUMENT",   "DEADLINE_EXCEEDED",
      "NOT_FOUND", "ALREADY_EXISTS", "PERMISSION_DENIED", "RESOURCE_EXHAUSTED", "FAILED_PRECONDITION",
      "ABORTED",   "OUT_OF_RANGE",   "UNIMPLEMENTED",     "INTERNAL",           "UNAVAILABLE",
      "DATA_LOSS", "UNAUTHENTICATED"};
   auto const index = static_cast<std::size_t>(code);
   return index < names.size() ? names[index] : std::to_string(code);
}

}  // namespace VelmSdkRpc
