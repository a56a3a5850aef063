#include "platform/switch/Transaction.h"

#include "platform/switch/Store.h"

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
