#include "platform/switch/IntfMgr.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/switch/Iterators.h"

namespace velm::embedded {

IntfMgr::IntfMgr(CallLedger& ledger, MainLoop& loop)
   : loop_(loop),
     intf_iter_(ledger, "intf_mgr.intf_iter"),
     exists_(ledger, "intf_mgr.exists"),
     kernel_intf_name_(ledger, "intf_mgr.kernel_intf_name"),
     velm_intf_name_(ledger, "intf_mgr.velm_intf_name"),
     admin_enabled_(ledger, "intf_mgr.admin_enabled"),
     admin_enabled_is_(ledger, "intf_mgr.admin_enabled_is"),
     description_(ledger, "intf_mgr.description"),
     description_is_(ledger, "intf_mgr.description_is"),
     oper_status_(ledger, "intf_mgr.oper_status") {
   constexpr int ports = 32;
   for (int port = 1; port <= ports; ++port) table_.set(intf_id_t(fmt::format("Ethernet{}", port)), {});
   table_.set(intf_id_t("Management1"), {});
}

void IntfMgr::storeIs(Store& store) {
   std::vector<intf_id_t> atFirst;
   table_.walk([&](intf_id_t const& intf, Intf const&) {
      atFirst.push_back(intf);
      return true;
   });
   table_.storeIs(store, StoredTable::intfs);
   for (auto const& intf : atFirst) tellDataplane(intf);  // of those that were pulled, that they are gone
   table_.walk([&](intf_id_t const& intf, Intf const&) {
      tellDataplane(intf);
      return true;
   });
}

void IntfMgr::dataplaneIs(Dataplane& dataplane) {
   dataplane_ = &dataplane;
   table_.walk([&](intf_id_t const& intf, Intf const&) {
      tellDataplane(intf);
      return true;
   });
}

void IntfMgr::tellDataplane(intf_id_t intf) {
   if (dataplane_ != nullptr) dataplane_->intfIs(intf, operStatus(intf));
}

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

void IntfMgr::watch(Change& change, intf_id_t intf) {
   Intf const* const row = table_.find(intf);
   if (row == nullptr) return;
   change.then([this, intf, before = *row, status = operStatus(intf)] { raiseDifferences(intf, before, status); });
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
   Change change;
   watch(change, intf);
   for (auto* follower : followers_) follower->intfChanged(change, intf);
   table_.update(change.rows(), intf, fn);
   change.commit();
}

void IntfMgr::create(intf_id_t intf) {
   if (intf == intf_id_t()) throw invalid_argument_error("an interface needs a name");
   if (table_.contains(intf)) return;
   Change change;
   table_.set(change.rows(), intf, {});
   change.then([this, intf] {
      tellDataplane(intf);
      raise(intf, [intf](intf_handler& handler) { handler.on_intf_create(intf); });
   });
   for (auto* follower : followers_) follower->intfCreated(change, intf);
   // Who saw an interface of this name go, and took it for down, must hear that it is up.
   change.then([this, intf] {
      if (operStatus(intf) == oper_status_t::up) raiseStatus(intf, oper_status_t::up);
   });
   change.commit();
}

void IntfMgr::remove(intf_id_t intf) {
   if (!table_.contains(intf)) return;
   Change change;
   for (auto* follower : followers_) follower->intfRemoved(change, intf);
   table_.del(change.rows(), intf);
   change.then([this, intf] {
      tellDataplane(intf);
      raise(intf, [intf](intf_handler& handler) { handler.on_intf_delete(intf); });
   });
   change.commit();
}

void IntfMgr::linkIs(intf_id_t intf, oper_status_t link) {
   amend(intf, [&](Intf& row) { row.link = link; });
}

intf_iter_t IntfMgr::intf_iter() const {
   Call const call(intf_iter_);
   return makeTableIter(table_, [](intf_id_t const& intf, Intf const&) { return intf; });
}

bool IntfMgr::exists(intf_id_t intf) const {
   Call const call(exists_);
   return table_.contains(intf);
}

std::string IntfMgr::kernel_intf_name(intf_id_t intf) const {
   Call const call(kernel_intf_name_);
   return table_.contains(intf) ? kernel_name(intf) : std::string();
}

intf_id_t IntfMgr::velm_intf_name(std::string const& kernel_name) const {
   Call const call(velm_intf_name_);
   auto const intf = intf_of_kernel_name(kernel_name);
   return table_.contains(intf) ? intf : intf_id_t();
}

bool IntfMgr::admin_enabled(intf_id_t intf) const {
   Call const call(admin_enabled_);
   Intf const* row = table_.find(intf);
   return row != nullptr && row->adminEnabled;
}

void IntfMgr::admin_enabled_is(intf_id_t intf, bool enabled) {
   Call const call(admin_enabled_is_);
   amend(intf, [&](Intf& row) { row.adminEnabled = enabled; });
}

std::string IntfMgr::description(intf_id_t intf) const {
   Call const call(description_);
   Intf const* row = table_.find(intf);
   return row == nullptr ? std::string() : row->description;
}

void IntfMgr::description_is(intf_id_t intf, std::string const& description) {
   Call const call(description_is_);
   amend(intf, [&](Intf& row) { row.description = description; });
}

oper_status_t IntfMgr::oper_status(intf_id_t intf) const {
   Call const call(oper_status_);
   return operStatus(intf);
}

}  // namespace velm::embedded
