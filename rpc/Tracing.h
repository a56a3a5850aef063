#pragma once

#include <fmt/format.h>

#include "platform/velm/tracer.h"

namespace VelmSdkRpc {

/// Writes one line through a service's tracer, formatted by {fmt}; formats nothing that is not taken. From any thread,
/// under any lock: it never waits.
template <class... Args>
void trace(velm::tracer const& tracer, velm::trace_level level, fmt::format_string<Args const&...> format,
           Args const&... args) {
   if (!tracer.takes(level)) return;
   tracer.trace(level, "%s", fmt::format(format, args...).c_str());
}

}  // namespace VelmSdkRpc
