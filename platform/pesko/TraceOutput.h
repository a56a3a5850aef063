#pragma once

#include <memory>
#include <string_view>

namespace Pesko {

/// The process's one way out for trace lines: a bounded queue and a thread that writes to stderr, each line after its
/// time. The thread starts with the first line. At the end of the process what is queued is written as far as stderr
/// takes it without waiting, also when std::terminate ends it: the last lines before a fall are the ones that count.
class TraceOutput {
 public:
   static TraceOutput& instance();

   /// Whether there is room for a line; if not, it counts as dropped. For those who would have to format it.
   bool takesLine();
   /// Queues a line, or counts it as dropped if there is no room. Thread-safe; never waits. The lines that were dropped
   /// since the last one are told before it.
   void write(std::string_view line);
   /// Waits until what was queued before has been written, half a second at most; for the end of the process.
   void flush();

   ~TraceOutput();
   TraceOutput(TraceOutput const&) = delete;
   TraceOutput& operator=(TraceOutput const&) = delete;

 private:
   TraceOutput();
   struct Impl;
   std::unique_ptr<Impl> impl_;
};

}  // namespace Pesko
