#pragma once

#include <memory>
#include <string_view>

namespace Pesko {

/// The process's one way out for trace lines: a bounded queue and a thread that writes to stderr, each line behind its
/// time. The thread starts with the first line. At the end of the process what is queued is written as far as stderr
/// takes it without waiting.
class TraceOutput {
 public:
   static TraceOutput& instance();

   /// Queues a line. Thread-safe; never waits.
   void write(std::string_view line);

   ~TraceOutput();
   TraceOutput(TraceOutput const&) = delete;
   TraceOutput& operator=(TraceOutput const&) = delete;

 private:
   TraceOutput();
   struct Impl;
   std::unique_ptr<Impl> impl_;
};

}  // namespace Pesko
