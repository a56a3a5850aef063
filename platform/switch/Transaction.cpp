#include "platform/switch/Transaction.h"

#include "platform/switch/Store.h"
#include "platform/velm/errors.h"
#include "platform/velm/tracer.h"

// The steps of a transaction:
//
//    staging       the dataplane agrees and keeps room; tables put into the log what is to be stored, and into
//       |          applies_ what they will do in memory, with the room; rows read as before
//       |  dropped without a commit: the room is given back, nothing has happened
//       v
//    the folder    Store::write, all of the log or nothing: a refusal throws, and nothing has changed
//       |
//       v
//    memory        applies_, in order, each row followed by the dataplane; cannot fail
//       |
//       v
//    consequences  in the order in which they were noted: comparisons, posted events
//
// The folder goes before the memory because it is the last step that can fail. A transaction over tables that are not
// stored has an empty log and skips it.
namespace velm::embedded {

void Transaction::put(Store& store, std::string_view key, std::string_view value) {
   store_ = &store;
   Store::logPut(log_, key, value);
}

void Transaction::del(Store& store, std::string_view key) {
   store_ = &store;
   Store::logDel(log_, key);
}

void Transaction::commit() {
   if (store_ != nullptr) store_->write(log_);
   apply();
}

void Transaction::commitReported() {
   try {
      if (store_ != nullptr) store_->write(log_);
   } catch (error const& e) {
      tracer("Switch").trace(0, "the state folder is left behind: %s", e.what());
   }
   apply();
}

void Transaction::apply() {
   for (auto& apply : applies_) apply();
   for (auto& consequence : consequences_) consequence();
}

}  // namespace velm::embedded
