#pragma once

#include <fmt/format.h>

#include <memory>
#include <source_location>
#include <string_view>

#include "platform/pesko/Trace.h"
#include "platform/qor/Assert.h"

namespace VelmSdkRpc {

/// The process's trace facility, "VelmSdkRpc". Made before ordinary static construction, so that any unit may trace
/// from its first statement on.
extern std::shared_ptr<Pesko::Platform::DebugHandler> traceHandle;

/// A format string that remembers where it was written.
template <class... Args>
struct TraceFormat {
   template <class Text>
   consteval TraceFormat(Text const& text, std::source_location where = std::source_location::current())  // NOLINT
      : text(text), where(where) {}

   fmt::format_string<Args const&...> text;
   std::source_location where;
};

/// The function's own name, without result, scope and parameters; of a lambda, that of the function around it.
std::string_view shortFunctionName(std::string_view signature);

/// Writes one line of the process's facility under the unit's class label, as coming from `where`; formats nothing
/// while the level is off.
template <class... Args>
void traceAt(std::source_location where, std::string_view className, unsigned level,
             fmt::format_string<Args const&...> format, Args const&... args) {
   if (!traceHandle->enabled(level)) return;
   Pesko::fmtrace(*traceHandle, level, Qor::fileStem(where.file_name()), shortFunctionName(where.function_name()),
                  where.line(), className, format, args...);
}

/// Writes one line of the process's facility under the unit's class label, as coming from where the format stands;
/// formats nothing while the level is off.
template <class... Args>
void trace(std::string_view className, unsigned level, std::type_identity_t<TraceFormat<Args...>> format,
           Args const&... args) {
   traceAt(format.where, className, level, format.text, args...);
}

}  // namespace VelmSdkRpc
