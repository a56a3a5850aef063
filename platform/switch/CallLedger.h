#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>

#include "platform/velm/sdk_lock.h"

namespace velm::embedded {

class CallLedger;

/// One operation of a manager, "ip_route_mgr.ip_route_set": how often it was called, and the faults set for its next
/// calls. Overloads share one. See Operations.
class Operation {
 public:
   /// Enters the operation into the ledger, which must outlive it.
   Operation(CallLedger& ledger, std::string const& name);
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
   /// Calls so far by operation; zeros are left out.
   std::map<std::string_view, std::uint64_t> calls() const;

 private:
   friend class Operation;
   friend class Inside;

   std::map<std::string, Operation*, std::less<>> operations_;
   int depth_ = 0;  // calls under way, one inside the other
};

/// Being at work inside the switch: holds the SDK lock, and while one exists, calls count nothing and meet no fault,
/// for what a command or an operation calls is its own affair. Whoever changes a table shows one: a Call where a client
/// asked for the change, a plain Inside where the switch makes it by itself.
class Inside {
 public:
   explicit Inside(CallLedger& ledger) : ledger_(ledger) { ++ledger_.depth_; }
   ~Inside() { --ledger_.depth_; }
   Inside(Inside const&) = delete;
   Inside& operator=(Inside const&) = delete;

 protected:
   bool outermost() const { return ledger_.depth_ == 1; }

 private:
   sdk_scoped_lock lock_;
   CallLedger& ledger_;
};

}  // namespace velm::embedded
