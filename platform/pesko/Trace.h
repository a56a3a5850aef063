#pragma once

#include <fmt/format.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// Tracing: facilities with ten levels each, one line to a call, written to stderr by a thread of its own. A call site
/// tests its level first, so a level that is off costs one load and formats nothing. Nothing here blocks or takes the
/// SDK lock: while the queue is full, new lines are dropped before they are formatted; where they are missing,
/// a line says how many.
namespace Pesko {

/// A set of levels, bit n for level n.
using LevelMask = std::uint32_t;

/// Reads "0-3,6": each digit is a level, `-` makes a range, commas may part them. Throws std::invalid_argument.
LevelMask parseLevels(std::string_view text);

namespace Platform {

/// Whether the queue has room for a line. One for which it has none counts as dropped, so ask once for each.
bool queueTakesLine();

/// A trace facility. Levels may be changed at any time from any thread.
class DebugHandler {
 public:
   explicit DebugHandler(std::string name, LevelMask levels) : name_(std::move(name)), levels_(levels) {}

   std::string const& name() const { return name_; }
   bool enabled(unsigned level) const { return (levels_.load(std::memory_order_relaxed) >> level & 1U) != 0; }
   /// Whether a line of the level is to be formatted and written: the level is enabled and the queue takes it.
   bool takes(unsigned level) const { return enabled(level) && queueTakesLine(); }
   void levelsIs(LevelMask levels) { levels_.store(levels, std::memory_order_relaxed); }

 private:
   std::string const name_;
   std::atomic<LevelMask> levels_;  // relaxed: a level orders nothing else, and may take effect a moment later
};

/// The facility of that name, made on first use; all callers of one name share it. With `quiet` it starts with no level
/// enabled, else with the default: 0 and 1, or what setupPeskoDebug said of it.
std::shared_ptr<DebugHandler> getDebugHandler(std::string const& name, bool quiet);

/// Sets the levels of a facility, which need not exist yet: "VelmSdkRpc/0-3,6". Throws std::invalid_argument, naming
/// the text, and changes nothing for anything else.
void setupPeskoDebug(std::string_view spec);

/// Where a line comes from; empty fields print as "-".
struct TraceOrigin {
   std::string_view file;
   unsigned line = 0;
   std::string_view function;
   std::string_view className;
};

/// Queues one line: time, facility, level, file:line, class label, function, text. The text may be a client's: control
/// characters are escaped but for a line feed at its end, which is left out, and so is what goes beyond 8 KiB. For
/// callers that asked whether the handler takes it.
void writeTrace(DebugHandler const& handler, unsigned level, TraceOrigin const& origin, std::string_view text);

}  // namespace Platform

/// Formats with {fmt} and hands the line to the handle, if that takes it.
template <class... Args>
void fmtrace(Platform::DebugHandler const& handler, unsigned level, std::string_view file, std::string_view function,
             unsigned line, std::string_view className, fmt::format_string<Args const&...> format,
             Args const&... args) {
   if (!handler.takes(level)) return;
   fmt::memory_buffer text;
   fmt::format_to(fmt::appender(text), format, args...);
   Platform::writeTrace(handler, level, {file, line, function, className}, {text.data(), text.size()});
}

}  // namespace Pesko
