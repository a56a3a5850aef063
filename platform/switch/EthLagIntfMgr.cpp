#include "platform/switch/EthLagIntfMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"
#include "platform/switch/Timestamp.h"

namespace velm::embedded {

EthLagIntfMgr::EthLagIntfMgr(CallLedger& ledger, MainLoop& loop, IntfMgr& intfs)
   : loop_(loop),
     intfs_(intfs),
     iter_(ledger, "eth_lag_intf_mgr.eth_lag_intf_iter"),
     exists_(ledger, "eth_lag_intf_mgr.exists"),
     member_iter_(ledger, "eth_lag_intf_mgr.eth_lag_intf_member_iter"),
     is_(ledger, "eth_lag_intf_mgr.eth_lag_intf_is"),
     lag_(ledger, "eth_lag_intf_mgr.eth_lag_intf"),
     del_(ledger, "eth_lag_intf_mgr.eth_lag_intf_del"),
     speed_(ledger, "eth_lag_intf_mgr.speed"),
     min_links_(ledger, "eth_lag_intf_mgr.min_links"),
     min_links_is_(ledger, "eth_lag_intf_mgr.min_links_is"),
     fallback_type_(ledger, "eth_lag_intf_mgr.fallback_type"),
     fallback_type_is_(ledger, "eth_lag_intf_mgr.fallback_type_is"),
     fallback_timeout_(ledger, "eth_lag_intf_mgr.fallback_timeout"),
     fallback_timeout_is_(ledger, "eth_lag_intf_mgr.fallback_timeout_is"),
     fallback_timeout_default_(ledger, "eth_lag_intf_mgr.fallback_timeout_default"),
     membership_set_(ledger, "eth_lag_intf_mgr.membership_set"),
     membership_del_(ledger, "eth_lag_intf_mgr.membership_del"),
     membership_(ledger, "eth_lag_intf_mgr.membership"),
     membership_status_(ledger, "eth_lag_intf_mgr.membership_status"),
     member_priority_(ledger, "eth_lag_intf_mgr.member_priority"),
     member_priority_is_(ledger, "eth_lag_intf_mgr.member_priority_is"),
     member_mode_(ledger, "eth_lag_intf_mgr.member_mode"),
     member_mode_is_(ledger, "eth_lag_intf_mgr.member_mode_is"),
     member_timeout_(ledger, "eth_lag_intf_mgr.member_timeout"),
     member_timeout_is_(ledger, "eth_lag_intf_mgr.member_timeout_is"),
     member_active_(ledger, "eth_lag_intf_mgr.member_active"),
     member_time_(ledger, "eth_lag_intf_mgr.member_time"),
     member_reason_(ledger, "eth_lag_intf_mgr.member_reason") {
   intfs_.followerIs(*this);
}

void EthLagIntfMgr::storeIs(Store& store) {
   lags_.storeIs(store, StoredTable::lags);
   members_.storeIs(store, StoredTable::lagMembers);
   members_.walk([&](intf_id_t const& intf, LagMember const&) {
      memberTimes_.set(intf, timestamp());
      return true;
   });
   lags_.walk([&](intf_id_t const& lag, Lag const&) {
      intfs_.tellDataplane(lag);
      return true;
   });
}

// LAGs.

void EthLagIntfMgr::demand(intf_id_t lag) const {
   if (!lags_.contains(lag)) throw configuration_error(fmt::format("no such LAG {}", lag.to_string()));
}

template <class T>
void EthLagIntfMgr::lagIs(intf_id_t lag, T Lag::*attribute, T value) {
   demand(lag);
   Change change;
   watch(change, lag);
   lags_.update(change.rows(), lag, [&](Lag& row) { row.*attribute = value; });
   change.commit();
}

eth_lag_intf_iter_t EthLagIntfMgr::eth_lag_intf_iter() const {
   Call const call(iter_);
   return makeTableIter(lags_, [](intf_id_t const& lag, Lag const&) { return lag; });
}

bool EthLagIntfMgr::exists(intf_id_t lag) const {
   Call const call(exists_);
   return lags_.contains(lag);
}

eth_lag_intf_member_iter_t EthLagIntfMgr::eth_lag_intf_member_iter(intf_id_t lag) const {
   Call const call(member_iter_);
   return makeSnapshotIter(members(lag), [this, lag](intf_id_t const& intf) { return member(intf).lag == lag; });
}

void EthLagIntfMgr::eth_lag_intf_is(intf_id_t lag) {
   Call const call(is_);
   if (!isLagName(lag)) throw invalid_argument_error(fmt::format("'{}' is not the name of a LAG", lag.to_string()));
   intfs_.create(lag);
}

eth_lag_intf_t EthLagIntfMgr::eth_lag_intf(intf_id_t lag) const {
   Call const call(lag_);
   Lag const* const row = lags_.find(lag);
   if (row == nullptr) throw invalid_argument_error(fmt::format("no such LAG {}", lag.to_string()));
   eth_lag_intf_t value;
   value.intf_is(lag);
   value.speed_is(speedOf(lag));
   value.min_links_is(row->minLinks);
   value.fallback_type_is(row->fallbackType);
   value.fallback_timeout_is(row->fallbackTimeout);
   value.fallback_timeout_default_is(Lag::defaultFallbackTimeout);
   return value;
}

void EthLagIntfMgr::eth_lag_intf_del(intf_id_t lag) {
   Call const call(del_);
   if (lags_.contains(lag)) intfs_.remove(lag);
}

std::uint64_t EthLagIntfMgr::speed(intf_id_t lag) const {
   Call const call(speed_);
   return speedOf(lag);
}

std::uint32_t EthLagIntfMgr::min_links(intf_id_t lag) const {
   Call const call(min_links_);
   return this->lag(lag).minLinks;
}

void EthLagIntfMgr::min_links_is(intf_id_t lag, std::uint32_t min_links) {
   Call const call(min_links_is_);
   lagIs(lag, &Lag::minLinks, min_links);
}

eth_lag_intf_fallback_type_t EthLagIntfMgr::fallback_type(intf_id_t lag) const {
   Call const call(fallback_type_);
   return this->lag(lag).fallbackType;
}

void EthLagIntfMgr::fallback_type_is(intf_id_t lag, eth_lag_intf_fallback_type_t type) {
   Call const call(fallback_type_is_);
   lagIs(lag, &Lag::fallbackType, type);
}

unsigned short EthLagIntfMgr::fallback_timeout(intf_id_t lag) const {
   Call const call(fallback_timeout_);
   return this->lag(lag).fallbackTimeout;
}

void EthLagIntfMgr::fallback_timeout_is(intf_id_t lag, unsigned short timeout) {
   Call const call(fallback_timeout_is_);
   lagIs(lag, &Lag::fallbackTimeout, timeout);
}

unsigned short EthLagIntfMgr::fallback_timeout_default(intf_id_t) const {
   Call const call(fallback_timeout_default_);
   return Lag::defaultFallbackTimeout;
}

// Members.

void EthLagIntfMgr::checkMember(intf_id_t intf) const {
   if (intf.kind() != intf_id_t::kind_t::ethernet) {
      throw invalid_argument_error(fmt::format("'{}' cannot be a member of a LAG", intf.to_string()));
   }
   intfs_.demand(intf);
}

template <class T>
void EthLagIntfMgr::memberIs(intf_id_t intf, T LagMember::*attribute, T value) {
   bool const known = members_.amend(intf, [&](LagMember& row) { row.*attribute = value; });
   if (!known) throw configuration_error(fmt::format("{} is in no LAG", intf.to_string()));
}

void EthLagIntfMgr::membership_set(intf_id_t intf, intf_id_t lag, eth_lag_intf_member_lacp_mode_t mode) {
   Call const call(membership_set_);
   checkMember(intf);
   demand(lag);
   auto next = member(intf);
   auto const before = next.lag;
   Change change;
   if (before != lag) {
      if (before != intf_id_t()) left(change, intf, before);
      joined(change, intf, lag);
      watch(change, before);
      watch(change, lag);
      next = {.lag = lag};
   }
   next.mode = mode;
   members_.set(change.rows(), intf, next);
   change.commit();
}

void EthLagIntfMgr::membership_del(intf_id_t intf) {
   Call const call(membership_del_);
   auto const lag = member(intf).lag;
   Change change;
   if (!members_.del(change.rows(), intf)) return;
   left(change, intf, lag);
   watch(change, lag);
   change.commit();
}

intf_id_t EthLagIntfMgr::membership(intf_id_t intf) const {
   Call const call(membership_);
   return member(intf).lag;
}

eth_lag_intf_membership_t EthLagIntfMgr::membership_status(intf_id_t intf) const {
   Call const call(membership_status_);
   auto const row = member(intf);
   eth_lag_intf_membership_t status;
   status.eth_lag_intf_id_is(row.lag);
   status.active_is(active(intf));
   status.reason_is(reason(intf));
   status.member_time_is(member_time(intf));
   status.mode_is(row.mode);
   return status;
}

unsigned short EthLagIntfMgr::member_priority(intf_id_t intf) const {
   Call const call(member_priority_);
   return member(intf).priority;
}

void EthLagIntfMgr::member_priority_is(intf_id_t intf, unsigned short priority) {
   Call const call(member_priority_is_);
   memberIs(intf, &LagMember::priority, priority);
}

eth_lag_intf_member_lacp_mode_t EthLagIntfMgr::member_mode(intf_id_t intf) const {
   Call const call(member_mode_);
   return member(intf).mode;
}

void EthLagIntfMgr::member_mode_is(intf_id_t intf, eth_lag_intf_member_lacp_mode_t mode) {
   Call const call(member_mode_is_);
   memberIs(intf, &LagMember::mode, mode);
}

eth_lag_intf_member_lacp_timeout_t EthLagIntfMgr::member_timeout(intf_id_t intf) const {
   Call const call(member_timeout_);
   return member(intf).timeout;
}

void EthLagIntfMgr::member_timeout_is(intf_id_t intf, eth_lag_intf_member_lacp_timeout_t timeout) {
   Call const call(member_timeout_is_);
   memberIs(intf, &LagMember::timeout, timeout);
}

bool EthLagIntfMgr::member_active(intf_id_t intf) const {
   Call const call(member_active_);
   return active(intf);
}

double EthLagIntfMgr::member_time(intf_id_t intf) const {
   Call const call(member_time_);
   double const* const time = memberTimes_.find(intf);
   return time == nullptr ? 0 : *time;
}

std::string EthLagIntfMgr::member_reason(intf_id_t intf) const {
   Call const call(member_reason_);
   return reason(intf);
}

}  // namespace velm::embedded
