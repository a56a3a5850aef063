#include "platform/switch/Transaction.h"

#include "platform/switch/Store.h"

// The steps of a transaction:
//
//    staging       tables put into the log what is to be stored, and into applies_ what they will do in memory; rows
//       |          read as before
//       |  dropped without a commit: nothing has happened
//       v
//    the folder    Store::write, all of the log or nothing: a refusal throws, and nothing has changed
//       |
//       v
//    memory        applies_, in order; cannot fail
//       |
//       v
//    consequences  in the order in which they were noted: comparisons, posted events, the dataplane's work
//
// The folder goes first because it is the one step that can fail. A transaction over tables that are not stored has an
// empty log and skips it.
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
   for (auto& apply : applies_) apply();
   for (auto& consequence : consequences_) consequence();
}

}  // namespace velm::embedded
