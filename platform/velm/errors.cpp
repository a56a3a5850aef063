#include "platform/velm/errors.h"

#include <atomic>

namespace velm {
namespace {

std::atomic<void (*)(error const&)> exceptionHandler{nullptr};

}  // namespace

void exception_handler_is(void (*handler)(error const&)) { exceptionHandler = handler; }

// An error that nobody handles goes on, and ends the process: a callback that failed halfway has left who knows what.
void report_uncaught(error const& e) {
   auto* const handler = exceptionHandler.load();
   if (handler == nullptr) e.raise();
   handler(e);
}

}  // namespace velm
