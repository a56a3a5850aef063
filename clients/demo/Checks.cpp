#include "clients/demo/Checks.h"

#include <stdexcept>

namespace VelmSdkRpc::demo {
namespace {

[[noreturn]] void fail(std::string const& claim) { throw std::runtime_error("this does not hold: " + claim); }

std::string const& nameOf(pb::rpc_status_msg::rpc_status_value_enum status) {
   return pb::rpc_status_msg::rpc_status_value_enum_Name(status);
}

}  // namespace

void expect(bool holds, std::string const& claim) {
   if (!holds) fail(claim);
}

void expectSuccess(pb::rpc_status_msg const& status, std::string_view request) {
   if (status.status() == pb::rpc_status_msg::STATUS_SUCCESS) return;
   fail(fmt::format("{} succeeds; the answer is {} {}", request, nameOf(status.status()), status.debug_string()));
}

void expectSuccess(pb::rpc_status_bulk_msg const& answer, std::size_t size, std::string_view request) {
   expect(static_cast<std::size_t>(answer.status_size()) == size,
          fmt::format("{} is answered with {} statuses, not {}", request, size, answer.status_size()));
   for (auto const& status : answer.status()) expectSuccess(status, request);
}

std::string statusName(pb::rpc_status_msg const& answer, pb::rpc_status_msg::rpc_status_value_enum expected) {
   auto const& name = nameOf(answer.status());
   expect(answer.status() == expected, fmt::format("the answer is {}, not {}", nameOf(expected), name));
   return name;
}

}  // namespace VelmSdkRpc::demo
