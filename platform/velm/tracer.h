#pragma once

#include <memory>

namespace Pesko::Platform {
class DebugHandler;
}

namespace velm {

/// Levels run from 0 (always worth a line) to 9 (every step of a stream).
using trace_level = unsigned;

/// A named trace handle. Its lines bear the name as facility; all tracers of one name share their enabled levels.
/// Thread-safe; never blocks.
class tracer {
 public:
   explicit tracer(char const* name);

   bool enabled(trace_level level) const;
   /// Whether a line of the level would be written now: it is enabled, and there is room for a line. One for which
   /// there is none counts as dropped. For those who format a line themselves.
   bool takes(trace_level level) const;

   /// Writes one line, formatted as printf does, if it takes one of the level.
   [[gnu::format(printf, 3, 4)]] void trace(trace_level level, char const* format, ...) const;

 private:
   std::shared_ptr<Pesko::Platform::DebugHandler> handler_;
};

}  // namespace velm
