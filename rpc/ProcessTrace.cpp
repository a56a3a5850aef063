#include "rpc/ProcessTrace.h"

namespace VelmSdkRpc {

// Before ordinary static construction (which runs at 65535), since a unit's static objects may trace.
[[gnu::init_priority(60000)]] std::shared_ptr<Pesko::Platform::DebugHandler> traceHandle =
   Pesko::Platform::getDebugHandler("VelmSdkRpc", false);

namespace {
[[maybe_unused]] bool const traceIsSetUp = (Pesko::Platform::setupPeskoDebug("VelmSdkRpc/01"), true);
}

std::string_view shortFunctionName(std::string_view signature) {
   auto end = signature.find('(');
   if (signature.substr(0, end).ends_with("operator")) end += 2;  // a call operator's name has brackets of its own
   signature = signature.substr(0, end);
   return signature.substr(signature.find_last_of(": ") + 1);
}

}  // namespace VelmSdkRpc
