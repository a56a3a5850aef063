#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "platform/switch/Store.h"

namespace velm::embedded {

/// One step of several tables, and what follows from it: rows are staged in its transaction, and once they have
/// changed, all at once, the consequences are drawn in the order in which they were foreseen. One that is not committed
/// has neither.
///
/// Held inside one operation, under the SDK lock.
class Change {
 public:
   Transaction& rows() { return rows_; }
   /// Keeps what is to be done behind the change, raising events above all. It must not throw.
   void then(std::function<void()> consequence) { consequences_.push_back(std::move(consequence)); }

   /// Throws velm::error if the state folder refuses the rows; nothing has happened then. Once at most.
   void commit() {
      rows_.commit();
      for (auto const& consequence : consequences_) consequence();
   }

 private:
   Transaction rows_;
   std::vector<std::function<void()>> consequences_;
};

}  // namespace velm::embedded
