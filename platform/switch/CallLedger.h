#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"

namespace velm::embedded {

class CallLedger;

/// One operation of a manager, "ip_route_mgr.ip_route_set": how often it was called, and the faults set for its next
/// calls. A member of its manager; overloads share one.
class Operation {
 public:
   Operation(CallLedger& ledger, char const* name);
   Operation(Operation const&) = delete;
   Operation& operator=(Operation const&) = delete;

 private:
   friend class Call;
   friend class CallLedger;

   struct Fault {
      void (*raise)(std::string const& text);
      std::string text;
      std::uint64_t times;
   };

   void throwNextFault();

   CallLedger& ledger_;
   std::uint64_t calls_ = 0;   // guarded by the SDK lock
   std::deque<Fault> faults_;  // guarded by the SDK lock; in the order in which they were set
};

/// Counts the calls of all managers' operations and makes chosen ones fail. All of it is guarded by the SDK lock.
class CallLedger {
 public:
   /// The next `times` calls of the operation throw velm::<error> with the text and do nothing. Throws
   /// invalid_argument_error for an operation or an error class that does not exist.
   void failNext(std::string const& operation, std::string const& error, std::string const& text, std::uint64_t times);
   /// Withdraws what is left of the faults.
   void clearFaults();
   /// The names of all operations.
   std::vector<std::string_view> operations() const;
   /// Calls so far by operation; zeros are left out.
   std::map<std::string_view, std::uint64_t> calls() const;

   /// While one exists, calls count nothing and meet no fault: what a command or a manager calls inside is its own
   /// affair.
   class Inside {
    public:
      explicit Inside(CallLedger& ledger) : ledger_(ledger) { ++ledger_.depth_; }
      ~Inside() { --ledger_.depth_; }
      Inside(Inside const&) = delete;
      Inside& operator=(Inside const&) = delete;

    private:
      sdk_scoped_lock lock_;
      CallLedger& ledger_;
   };

 private:
   friend class Operation;
   friend class Call;

   std::map<std::string_view, Operation*> operations_;
   int depth_ = 0;  // calls under way, one inside the other
};

/// An operation under way: holds the SDK lock, has been counted, and has thrown the fault that was set for it.
class Call {
 public:
   explicit Call(Operation& operation) : inside_(operation.ledger_) {
      if (operation.ledger_.depth_ > 1) return;
      ++operation.calls_;
      if (!operation.faults_.empty()) [[unlikely]]
         operation.throwNextFault();
   }

 private:
   CallLedger::Inside inside_;
};

}  // namespace velm::embedded
