#include "platform/switch/IntfMgr.h"

#include <fmt/format.h>

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

void IntfMgr::dataplaneIs(Dataplane& dataplane) {
   dataplane_ = &dataplane;
   table_.walk([&](intf_id_t const& intf, Intf const& row) {
      dataplane.intfIs(intf, row.operStatus());
      return true;
   });
   table_.onChange([&](intf_id_t const& intf, Intf const* now) {
      dataplane.intfIs(intf, now == nullptr ? oper_status_t::unknown : now->operStatus());
   });
}

template <class Fn>
void IntfMgr::raise(intf_id_t intf, Fn fn) {
   loop_.post([this, intf, fn] { notify(intf, fn); });
}

template <class Fn>
void IntfMgr::change(intf_id_t intf, Fn&& fn) {
   Intf const* const present = table_.find(intf);
   if (present == nullptr) throw configuration_error(fmt::format("no such interface {}", intf.to_string()));
   Intf const before = *present;
   table_.amend(intf, fn);
   Intf const& after = *present;
   if (before.adminEnabled != after.adminEnabled) {
      raise(intf, [intf, on = after.adminEnabled](intf_handler& handler) { handler.on_admin_enabled(intf, on); });
   }
   if (before.operStatus() != after.operStatus()) {
      raise(intf, [intf, status = after.operStatus()](intf_handler& h) { h.on_oper_status(intf, status); });
   }
   if (before.description != after.description) {
      raise(intf, [intf, text = after.description](intf_handler& h) { h.on_intf_description(intf, text); });
   }
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
   return kernel_name(intf);
}

intf_id_t IntfMgr::velm_intf_name(std::string const& kernel_name) const {
   Call const call(velm_intf_name_);
   return intf_of_kernel_name(kernel_name);
}

bool IntfMgr::admin_enabled(intf_id_t intf) const {
   Call const call(admin_enabled_);
   Intf const* row = table_.find(intf);
   return row != nullptr && row->adminEnabled;
}

void IntfMgr::admin_enabled_is(intf_id_t intf, bool enabled) {
   Call const call(admin_enabled_is_);
   change(intf, [&](Intf& row) { row.adminEnabled = enabled; });
}

std::string IntfMgr::description(intf_id_t intf) const {
   Call const call(description_);
   Intf const* row = table_.find(intf);
   return row == nullptr ? std::string() : row->description;
}

void IntfMgr::description_is(intf_id_t intf, std::string const& description) {
   Call const call(description_is_);
   change(intf, [&](Intf& row) { row.description = description; });
}

oper_status_t IntfMgr::oper_status(intf_id_t intf) const {
   Call const call(oper_status_);
   Intf const* row = table_.find(intf);
   return row == nullptr ? oper_status_t::unknown : row->operStatus();
}

void IntfMgr::create(intf_id_t intf) {
   if (intf == intf_id_t()) throw invalid_argument_error("an interface needs a name");
   if (table_.contains(intf)) return;
   table_.set(intf, {});
   raise(intf, [intf](intf_handler& handler) { handler.on_intf_create(intf); });
}

void IntfMgr::remove(intf_id_t intf) {
   if (table_.del(intf)) raise(intf, [intf](intf_handler& handler) { handler.on_intf_delete(intf); });
}

void IntfMgr::linkIs(intf_id_t intf, oper_status_t link) {
   change(intf, [&](Intf& row) { row.link = link; });
}

IntfCounterMgr::IntfCounterMgr(CallLedger& ledger, IntfTable const& intfs)
   : intfs_(intfs),
     intf_counters_(ledger, "intf_counter_mgr.intf_counters"),
     intf_traffic_rates_(ledger, "intf_counter_mgr.intf_traffic_rates") {}

intf_counters_t IntfCounterMgr::intf_counters(intf_id_t intf) const {
   Call const call(intf_counters_);
   Intf const* row = intfs_.find(intf);
   return row == nullptr ? intf_counters_t() : row->counters;
}

intf_traffic_rates_t IntfCounterMgr::intf_traffic_rates(intf_id_t intf) const {
   Call const call(intf_traffic_rates_);
   Intf const* row = intfs_.find(intf);
   return row == nullptr ? intf_traffic_rates_t() : row->rates;
}

}  // namespace velm::embedded
