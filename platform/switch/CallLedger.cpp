#include "platform/switch/CallLedger.h"

#include <fmt/format.h>

#include <array>

#include "platform/velm/errors.h"

// Only the outermost call counts, so that the figures tell what clients asked for, whatever the managers call inside.
// For the same reason a fault meets a client's call alone: a command that uses an operation must not eat it up.
//
// A call that fails by a fault has counted. Faults of one operation are raised in the order in which they were set;
// each knows its class as a function that throws it, since a thrown type cannot be chosen at run time in any other way.
namespace velm::embedded {
namespace {

template <class Error>
void raise(std::string const& text) {
   throw Error(text);
}

struct ErrorClass {
   std::string_view name;
   void (*raise)(std::string const& text);
};
constexpr std::array errorClasses{ErrorClass{"error", raise<error>},
                                  ErrorClass{"invalid_argument_error", raise<invalid_argument_error>},
                                  ErrorClass{"invalid_range_error", raise<invalid_range_error>},
                                  ErrorClass{"configuration_error", raise<configuration_error>},
                                  ErrorClass{"unconfigured_agent_error", raise<unconfigured_agent_error>},
                                  ErrorClass{"unsupported_error", raise<unsupported_error>},
                                  ErrorClass{"no_scoped_lock_obtained_error", raise<no_scoped_lock_obtained_error>}};

}  // namespace

Operation::Operation(CallLedger& ledger, std::string const& name) : ledger_(ledger) {
   ledger.operations_.emplace(name, this);
}

void Operation::throwNextFault() {
   auto& fault = faults_.front();
   auto* const raise = fault.raise;
   auto const text = fault.text;
   if (--fault.times == 0) faults_.pop_front();
   raise(text);
}

void CallLedger::failNext(std::string const& operation, std::string const& error, std::string const& text,
                          std::uint64_t times) {
   auto const target = operations_.find(operation);
   if (target == operations_.end()) throw invalid_argument_error(fmt::format("no such operation {}", operation));
   for (auto const& errorClass : errorClasses) {
      if (errorClass.name != error) continue;
      if (times > 0) target->second->faults_.push_back({errorClass.raise, text, times});
      return;
   }
   throw invalid_argument_error(fmt::format("no such error {}", error));
}

void CallLedger::clearFaults() {
   for (auto& [name, operation] : operations_) operation->faults_.clear();
}

std::map<std::string_view, std::uint64_t> CallLedger::calls() const {
   std::map<std::string_view, std::uint64_t> calls;
   for (auto const& [name, operation] : operations_) {
      if (operation->calls_ > 0) calls.emplace(name, operation->calls_);
   }
   return calls;
}

}  // namespace velm::embedded
