#include "platform/velm/tracer.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/pesko/Trace.h"

namespace velm {

tracer::tracer(char const* name) : handler_(Pesko::Platform::getDebugHandler(name, false)) {}

bool tracer::enabled(trace_level level) const { return handler_->enabled(level); }
bool tracer::takes(trace_level level) const { return handler_->takes(level); }

// The text is formatted twice, first for its length alone: a line may be as long as what a client sent.
void tracer::trace(trace_level level, char const* format, ...) const {
   if (!takes(level)) return;
   std::string text;
   va_list args;
   va_start(args, format);
   va_list again;
   va_copy(again, args);
   auto const size = std::vsnprintf(nullptr, 0, format, args);
   if (size > 0) {
      text.resize(static_cast<std::size_t>(size));
      std::vsnprintf(text.data(), text.size() + 1, format, again);
   }
   va_end(again);
   va_end(args);
   Pesko::Platform::writeTrace(*handler_, level, {}, text);
}

}  // namespace velm
