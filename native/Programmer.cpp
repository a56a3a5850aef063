#include "native/Programmer.h"

#include <utility>

#include "native/ClientInit.h"

namespace VelmSdkRpc {

bool isInitialized(ClientInit const& clientInit) { return clientInit.initialized(); }

void traceError(std::string_view className, std::string_view text, std::source_location where) {
   traceAt(where, className, 0, "{}", text);
}

std::uint32_t refuse(std::string_view className, std::string& error, std::string text, std::source_location where) {
   traceError(className, text, where);
   error = std::move(text);
   return pb::rpc_status_msg::STATUS_ERROR;
}

}  // namespace VelmSdkRpc
