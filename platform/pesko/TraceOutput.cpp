#include "platform/pesko/TraceOutput.h"

#include <spdlog/async_logger.h>
#include <spdlog/details/null_mutex.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/sinks/base_sink.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <poll.h>
#include <thread>
#include <unistd.h>

// The road of a line:
//
//    any thread                                              the queue's thread
//    ----------                                              ------------------
//    takesLine: is there room? ---- no ---> dropped          takes a line, writes it to stderr, counts it as written
//       |  yes: it is formatted                                 |  nothing waits any more
//       v                                                       v
//    write: reserves room --------- no ---> dropped          tells how many were dropped
//       |  yes
//       v
//    how many were dropped, and the line ---- spdlog's queue ---->
//
// A line takes these two steps so that a full queue costs nothing, and so that what is posted has room for good:
// spdlog's queue would overwrite its oldest lines, and the oldest are those that tell how a trouble began. Between the
// two steps others may take the room; then the line was formatted for nothing.
namespace Pesko {
namespace {

constexpr std::size_t queueLines = 8192;

// Counts the lines in the queue or on their way out, and those that found no room there.
class Counts {
 public:
   bool empty() const { return waiting() == 0; }
   // Once lines were dropped, not before half of the queue is free: a few long gaps tell more than one at every line.
   bool hasRoom() const { return waiting() < (dropped_ == 0 ? queueLines : queueLines / 2); }
   bool reserve(std::size_t lines) {
      auto queued = queued_.load();
      do {
         if (waiting() + lines > queueLines) return false;
      } while (!queued_.compare_exchange_weak(queued, queued + lines));
      return true;
   }
   std::size_t queued() const { return queued_; }
   std::size_t written() const { return written_; }
   void addWritten() { ++written_; }
   void addDropped(std::size_t lines) { dropped_ += lines; }
   // The dropped lines of which no line has told yet.
   std::size_t takeDropped() { return dropped_ == 0 ? 0 : dropped_.exchange(0); }

 private:
   // The written ones are read first: more of them than of the others would wrap around.
   std::size_t waiting() const {
      auto const written = written_.load();
      return queued_.load() - written;
   }

   std::atomic<std::size_t> queued_{0};
   std::atomic<std::size_t> written_{0};
   std::atomic<std::size_t> dropped_{0};
};

std::string droppedText(std::size_t lines) { return fmt::format("{} trace lines dropped", lines); }

// Writes to stderr on the queue's thread. A reader of stderr that stopped reading blocks this thread and nobody else;
// once the process ends, it does not even block this one, for a stuck pipe must not keep an agent from stopping.
class StderrSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 public:
   explicit StderrSink(Counts& counts) : counts_(counts) {}
   void closingIs() { closing_ = true; }

 protected:
   void sink_it_(spdlog::details::log_msg const& msg) override {
      put(msg);
      counts_.addWritten();
      // No line follows that could tell of the dropped ones.
      if (!counts_.empty()) return;
      if (auto const dropped = counts_.takeDropped(); dropped != 0) {
         auto const text = droppedText(dropped);
         put({msg.logger_name, msg.level, text});
      }
   }
   void flush_() override {}

 private:
   void put(spdlog::details::log_msg const& msg) {
      spdlog::memory_buf_t text;
      formatter_->format(msg, text);
      put({text.data(), text.size()});
   }
   void put(std::string_view text) {
      while (!text.empty()) {
         pollfd out{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
         if (poll(&out, 1, closing_ ? 0 : 100) == 0) {
            if (closing_) return;
            continue;
         }
         // A pipe that polls writable takes this much without blocking.
         auto const written = ::write(STDERR_FILENO, text.data(), std::min<std::size_t>(text.size(), 4096));
         if (written <= 0) return;
         text.remove_prefix(static_cast<std::size_t>(written));
      }
   }

   Counts& counts_;
   std::atomic<bool> closing_{false};
};

std::terminate_handler terminateBefore = nullptr;

[[noreturn]] void flushAndTerminate() {
   TraceOutput::instance().flush();
   terminateBefore();
   std::abort();
}

}  // namespace

struct TraceOutput::Impl {
   void post(std::string_view line) {
      logger->log(spdlog::level::info, spdlog::string_view_t(line.data(), line.size()));
   }

   Counts counts;
   std::shared_ptr<StderrSink> sink = std::make_shared<StderrSink>(counts);
   std::shared_ptr<spdlog::details::thread_pool> pool = std::make_shared<spdlog::details::thread_pool>(queueLines, 1);
   // Room is reserved before a line is posted, so that nothing is ever overrun; the policy only says not to wait.
   std::shared_ptr<spdlog::async_logger> logger =
      std::make_shared<spdlog::async_logger>("trace", sink, pool, spdlog::async_overflow_policy::overrun_oldest);
};

TraceOutput::TraceOutput() : impl_(std::make_unique<Impl>()) {
   impl_->logger->set_pattern("%Y-%m-%dT%H:%M:%S.%f %v");
   terminateBefore = std::set_terminate(flushAndTerminate);
}

TraceOutput::~TraceOutput() { impl_->sink->closingIs(); }

TraceOutput& TraceOutput::instance() {
   static TraceOutput output;
   return output;
}

bool TraceOutput::takesLine() {
   if (impl_->counts.hasRoom()) return true;
   impl_->counts.addDropped(1);
   return false;
}

void TraceOutput::write(std::string_view line) {
   auto& counts = impl_->counts;
   auto const dropped = counts.takeDropped();
   if (!counts.reserve(dropped == 0 ? 1 : 2)) return counts.addDropped(dropped + 1);
   if (dropped != 0) impl_->post(droppedText(dropped));
   impl_->post(line);
}

void TraceOutput::flush() {
   auto const& counts = impl_->counts;
   auto const wanted = counts.queued();
   auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
   while (counts.written() < wanted && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
   }
}

}  // namespace Pesko
