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

namespace Pesko {
namespace {

constexpr std::size_t queueLines = 8192;

// Writes to stderr on the queue's thread. A reader of stderr that stopped reading blocks this thread and nobody else;
// once the process ends, it does not even block this one, for a stuck pipe must not keep an agent from stopping.
class StderrSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 public:
   void poolIs(spdlog::details::thread_pool* pool) { pool_ = pool; }
   void closingIs() { closing_ = true; }
   std::size_t written() const { return written_.load(std::memory_order_acquire); }

 protected:
   void sink_it_(spdlog::details::log_msg const& msg) override {
      if (auto const dropped = pool_->overrun_counter(); dropped != reported_) {
         put(fmt::format("{} trace lines dropped\n", dropped - reported_));
         reported_ = dropped;
      }
      spdlog::memory_buf_t text;
      formatter_->format(msg, text);
      put({text.data(), text.size()});
      written_.fetch_add(1, std::memory_order_release);
   }
   void flush_() override {}

 private:
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

   spdlog::details::thread_pool* pool_ = nullptr;
   std::size_t reported_ = 0;
   std::atomic<bool> closing_{false};
   std::atomic<std::size_t> written_{0};
};

std::terminate_handler terminateBefore = nullptr;

[[noreturn]] void flushAndTerminate() {
   TraceOutput::instance().flush();
   terminateBefore();
   std::abort();
}

}  // namespace

struct TraceOutput::Impl {
   std::shared_ptr<StderrSink> sink = std::make_shared<StderrSink>();
   std::shared_ptr<spdlog::details::thread_pool> pool = std::make_shared<spdlog::details::thread_pool>(queueLines, 1);
   std::shared_ptr<spdlog::async_logger> logger =
      std::make_shared<spdlog::async_logger>("trace", sink, pool, spdlog::async_overflow_policy::overrun_oldest);
   std::atomic<std::size_t> queued{0};
};

TraceOutput::TraceOutput() : impl_(std::make_unique<Impl>()) {
   impl_->sink->poolIs(impl_->pool.get());
   impl_->logger->set_pattern("%Y-%m-%dT%H:%M:%S.%f %v");
   terminateBefore = std::set_terminate(flushAndTerminate);
}

TraceOutput::~TraceOutput() { impl_->sink->closingIs(); }

TraceOutput& TraceOutput::instance() {
   static TraceOutput output;
   return output;
}

void TraceOutput::write(std::string_view line) {
   impl_->queued.fetch_add(1, std::memory_order_relaxed);
   impl_->logger->info("{}", line);
}

void TraceOutput::flush() {
   auto const wanted = impl_->queued.load();
   auto const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
   while (impl_->sink->written() + impl_->pool->overrun_counter() < wanted &&
          std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
   }
}

}  // namespace Pesko
