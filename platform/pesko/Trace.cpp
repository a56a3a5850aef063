#include "platform/pesko/Trace.h"

#include <cctype>
#include <map>
#include <mutex>
#include <stdexcept>

#include "platform/pesko/TraceOutput.h"
#include "platform/qor/Text.h"

// Levels may be set before their facility is first asked for, by the command line, and facilities live as long as the
// process. So both are kept by name, for good.
namespace Pesko {
namespace {

constexpr LevelMask defaultLevels = 0b11;

// Whole is a group with some sixty nexthops, and why it was refused. What waits for a reader of stderr that has stopped
// is below 70 MB then, whatever clients send.
constexpr std::size_t textLimit = 8192;

struct Facilities {
   std::mutex mutex;
   std::map<std::string, std::shared_ptr<Platform::DebugHandler>, std::less<>> handlers;  // guarded by mutex
   std::map<std::string, LevelMask, std::less<>> configured;                              // guarded by mutex
};

Facilities& facilities() {
   static Facilities instance;
   return instance;
}

}  // namespace

// Character by character: a digit is a level or ends a range, and what else may come depends on what came before it.
LevelMask parseLevels(std::string_view text) {
   auto const bad = [&] { return std::invalid_argument(fmt::format("'{}' is not a list of trace levels", text)); };
   LevelMask mask = 0;
   int previous = -1;   // the level before this character, where a range may start
   bool range = false;  // after a '-'
   for (char const c : text) {
      if (std::isdigit(static_cast<unsigned char>(c)) != 0) {
         int const level = c - '0';
         int const first = range ? previous : level;
         if (first > level) throw bad();
         for (int l = first; l <= level; ++l) mask |= 1U << l;
         previous = level;
         range = false;
      } else if (c == '-' && previous >= 0 && !range) {
         range = true;
      } else if (c == ',' && previous >= 0 && !range) {
         previous = -1;
      } else {
         throw bad();
      }
   }
   if (range || (previous < 0 && !text.empty())) throw bad();
   return mask;
}

namespace Platform {

bool queueTakesLine() { return TraceOutput::instance().takesLine(); }

std::shared_ptr<DebugHandler> getDebugHandler(std::string const& name, bool quiet) {
   auto& all = facilities();
   std::lock_guard const lock(all.mutex);
   auto& handler = all.handlers[name];
   if (!handler) {
      auto const it = all.configured.find(name);
      handler = std::make_shared<DebugHandler>(name, it != all.configured.end() ? it->second
                                                     : quiet                    ? LevelMask{0}
                                                                                : defaultLevels);
   }
   return handler;
}

void setupPeskoDebug(std::string_view spec) {
   auto const slash = spec.rfind('/');
   if (slash == 0 || slash == std::string_view::npos) {
      throw std::invalid_argument(fmt::format("'{}' is not a facility and its trace levels", spec));
   }
   auto const levels = parseLevels(spec.substr(slash + 1));
   std::string const name(spec.substr(0, slash));
   auto& all = facilities();
   std::lock_guard const lock(all.mutex);
   all.configured[name] = levels;
   if (auto const it = all.handlers.find(name); it != all.handlers.end()) it->second->levelsIs(levels);
}

void writeTrace(DebugHandler const& handler, unsigned level, TraceOrigin const& origin, std::string_view text) {
   auto const orDash = [](std::string_view field) { return field.empty() ? std::string_view("-") : field; };
   fmt::memory_buffer line;
   fmt::format_to(fmt::appender(line), "{} {} {}:{} {} {} ", handler.name(), level, orDash(origin.file), origin.line,
                  orDash(origin.className), orDash(origin.function));
   if (text.ends_with('\n')) text.remove_suffix(1);
   Qor::appendWithinLine(line, text, textLimit);
   TraceOutput::instance().write({line.data(), line.size()});
}

}  // namespace Platform
}  // namespace Pesko
