#include "platform/switch/Store.h"
namespace velm::embedded {
struct Store::Impl {};
Store::~Store() = default;
void Store::put(std::string_view, std::string_view) {}
void Store::del(std::string_view) {}
void Store::load(StoredTable, std::function<void(std::string_view, std::string_view)> const&) {}
Transaction::~Transaction() = default;
void Transaction::put(Store&, std::string_view, std::string_view) {}
void Transaction::del(Store&, std::string_view) {}
void Transaction::commit() {
   for (auto const& apply : applies_) apply();
}
}
