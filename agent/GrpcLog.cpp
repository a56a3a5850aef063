#include "agent/GrpcLog.h"

#include <grpc/support/log.h>

#include <string_view>

#include "platform/pesko/Trace.h"
#include "platform/qor/Assert.h"

namespace VelmSdkRpc {
namespace {

thread_local std::string* kept = nullptr;  // where this thread's errors go instead of the trace

// Called by gRPC on whichever thread has something to say, its own included, and under locks of its own: it must
// neither wait nor call gRPC.
void onGrpcLog(gpr_log_func_args* args) {
   static auto const handler = Pesko::Platform::getDebugHandler("grpc", false);
   bool const isError = args->severity == GPR_LOG_SEVERITY_ERROR;
   if (isError && kept != nullptr) {
      *kept += args->message;
      return;
   }
   unsigned const level = isError ? 0 : 1;
   if (!handler->takes(level)) return;
   Pesko::Platform::writeTrace(*handler, level, {Qor::fileStem(args->file), static_cast<unsigned>(args->line), {}, {}},
                               args->message);
}

}  // namespace

void traceGrpcLog() { gpr_set_log_function(onGrpcLog); }

GrpcErrors::GrpcErrors() { kept = &text_; }
GrpcErrors::~GrpcErrors() { kept = nullptr; }

// gRPC reports a refused address as one long line, nested causes and source lines included. The one part that says
// something to an operator is the system's own text.
std::string GrpcErrors::reason() const {
   constexpr std::string_view mark = "os_error:\"";
   auto const begin = text_.find(mark);
   if (begin == std::string::npos) return text_;
   auto const from = begin + mark.size();
   return text_.substr(from, text_.find('"', from) - from);
}

}  // namespace VelmSdkRpc
