#include "platform/switch/IntfMgr.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/switch/Iterators.h"

// A change of an interface is one transaction: the manager's row and those of all followers (addresses, LAGs, Macsec,
// counters) change together or not at all.
//
//    amend(intf)
//       watch(intf)             keeps the row and the state as they are
//       followers: intfChanged  a LAG watches itself in the same way
//       table_.update           staged
//       commit                  the folder, then the rows of all, then the comparisons in the order of the watching
//                                  |
//                                  +---> the dataplane is told, events are posted to the main loop
//
// Events tell what a change comes to, which shows only once all rows have changed, since the state of a LAG follows
// from rows of others. Hence the comparison afterwards, instead of events raised where a row is written. The order in
// which things are watched is that of their events: an interface before the LAG that it is a member of, and a removed
// interface after all that hung on it.
namespace velm::embedded {

IntfMgr::IntfMgr(CallLedger& ledger, MainLoop& loop) : loop_(loop), operations_(ledger) {}

void IntfMgr::dataplaneIs(Dataplane& dataplane) {
   dataplane_ = &dataplane;
   table_.carrierIs(dataplane.intfs());
   if (dataplane.simulation() == nullptr) return;
   Inside const inside(operations_.ledger());
   constexpr int ports = 32;
   for (int port = 1; port <= ports; ++port) table_.set(inside, intf_id_t(fmt::format("Ethernet{}", port)), {});
   table_.set(inside, intf_id_t("Management1"), {});
   table_.each([&](intf_id_t const& intf, Intf const&) { tellDataplane(intf); });
}

void IntfMgr::storeIs(Store& store) {
   std::vector<intf_id_t> atFirst;
   table_.each([&](intf_id_t const& intf, Intf const&) { atFirst.push_back(intf); });
   table_.storeIs(store, StoredTable::intfs);
   for (auto const& intf : atFirst) tellDataplane(intf);  // of those that were pulled, that they are gone
   table_.each([&](intf_id_t const& intf, Intf const&) { tellDataplane(intf); });
}

void IntfMgr::tellDataplane(intf_id_t intf) { dataplane_->intfIs(intf, operStatus(intf)); }

oper_status_t IntfMgr::operStatus(intf_id_t intf) const {
   Intf const* const row = table_.find(intf);
   if (row == nullptr) return oper_status_t::unknown;
   bool const heldDown =
      !row->adminEnabled || std::ranges::any_of(followers_, [&](auto* follower) { return follower->holdsDown(intf); });
   return heldDown ? oper_status_t::down : row->link;
}

void IntfMgr::demand(intf_id_t intf) const {
   if (!table_.contains(intf)) throw configuration_error(fmt::format("no such interface {}", intf.to_string()));
}

template <class Fn>
void IntfMgr::raise(intf_id_t intf, Fn fn) {
   loop_.post([this, intf, fn = std::move(fn)] { notify(intf, fn); });
}

void IntfMgr::raiseStatus(intf_id_t intf, oper_status_t status) {
   raise(intf, [intf, status](intf_handler& handler) { handler.on_oper_status(intf, status); });
}

void IntfMgr::watch(Transaction& transaction, intf_id_t intf) {
   Intf const* const row = table_.find(intf);
   if (row == nullptr) return;
   transaction.then([this, intf, before = *row, status = operStatus(intf)] { raiseDifferences(intf, before, status); });
}

void IntfMgr::raiseDifferences(intf_id_t intf, Intf const& before, oper_status_t statusBefore) {
   Intf const* const now = table_.find(intf);
   if (now == nullptr) return;
   auto const status = operStatus(intf);
   if (status != statusBefore) tellDataplane(intf);
   if (now->adminEnabled != before.adminEnabled) {
      raise(intf, [intf, on = now->adminEnabled](intf_handler& handler) { handler.on_admin_enabled(intf, on); });
   }
   if (status != statusBefore) raiseStatus(intf, status);
   if (now->description != before.description) {
      raise(intf, [intf, text = now->description](intf_handler& h) { h.on_intf_description(intf, text); });
   }
}

template <class Fn>
void IntfMgr::amend(intf_id_t intf, Fn&& fn) {
   demand(intf);
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   change(transaction, intf);
   table_.update(transaction, intf, fn);
   transaction.commit();
}

void IntfMgr::change(Transaction& transaction, intf_id_t intf) {
   watch(transaction, intf);
   for (auto* follower : followers_) follower->intfChanged(transaction, intf);
}

void IntfMgr::create(intf_id_t intf) {
   if (intf == intf_id_t()) throw invalid_argument_error("an interface needs a name");
   if (table_.contains(intf)) return;
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   table_.set(transaction, intf, {});
   created(transaction, intf);
   transaction.commit();
}

void IntfMgr::created(Transaction& transaction, intf_id_t intf) {
   transaction.then([this, intf] {
      tellDataplane(intf);
      raise(intf, [intf](intf_handler& handler) { handler.on_intf_create(intf); });
   });
   for (auto* follower : followers_) follower->intfCreated(transaction, intf);
   // Who saw an interface of this name go, and took it for down, must hear that it is up.
   transaction.then([this, intf] {
      if (operStatus(intf) == oper_status_t::up) raiseStatus(intf, oper_status_t::up);
   });
}

void IntfMgr::remove(intf_id_t intf) {
   if (!table_.contains(intf)) return;
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   remove(transaction, intf);
   transaction.commit();
}

void IntfMgr::remove(Transaction& transaction, intf_id_t intf) {
   for (auto* follower : followers_) follower->intfRemoved(transaction, intf);
   table_.del(transaction, intf);
   transaction.then([this, intf] {
      tellDataplane(intf);
      raise(intf, [intf](intf_handler& handler) { handler.on_intf_delete(intf); });
   });
}

void IntfMgr::portIs(intf_id_t intf, Intf const& intfNow) {
   Intf const* const present = table_.find(intf);
   if (present != nullptr && *present == intfNow) return;
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   if (present != nullptr) change(transaction, intf);
   table_.setReported(transaction, intf, intfNow);
   if (present == nullptr) created(transaction, intf);
   transaction.commitReported();
}

void IntfMgr::portGone(intf_id_t intf) {
   if (!table_.contains(intf)) return;
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   remove(transaction, intf);
   transaction.commitReported();
}

void IntfMgr::linkIs(intf_id_t intf, oper_status_t link) {
   amend(intf, [&](Intf& row) { row.link = link; });
}

intf_iter_t IntfMgr::intf_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](intf_id_t const& intf, Intf const&) { return intf; });
}

bool IntfMgr::exists(intf_id_t intf) const {
   Call const call(operations_);
   return table_.contains(intf);
}

std::string IntfMgr::kernel_intf_name(intf_id_t intf) const {
   Call const call(operations_);
   return table_.contains(intf) ? kernelName(intf) : std::string();
}

intf_id_t IntfMgr::velm_intf_name(std::string const& kernel_name) const {
   Call const call(operations_);
   auto const intf = dataplane_->intfOfKernelName(kernel_name);
   return table_.contains(intf) ? intf : intf_id_t();
}

bool IntfMgr::admin_enabled(intf_id_t intf) const {
   Call const call(operations_);
   Intf const* row = table_.find(intf);
   return row != nullptr && row->adminEnabled;
}

void IntfMgr::admin_enabled_is(intf_id_t intf, bool enabled) {
   Call const call(operations_);
   amend(intf, [&](Intf& row) { row.adminEnabled = enabled; });
}

std::string IntfMgr::description(intf_id_t intf) const {
   Call const call(operations_);
   Intf const* row = table_.find(intf);
   return row == nullptr ? std::string() : row->description;
}

void IntfMgr::description_is(intf_id_t intf, std::string const& description) {
   Call const call(operations_);
   amend(intf, [&](Intf& row) { row.description = description; });
}

oper_status_t IntfMgr::oper_status(intf_id_t intf) const {
   Call const call(operations_);
   return operStatus(intf);
}

}  // namespace velm::embedded
