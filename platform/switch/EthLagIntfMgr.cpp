#include "platform/switch/EthLagIntfMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"
#include "platform/switch/Timestamp.h"

// The operations of LAGs. A LAG and its Port-Channel interface are one object: either is made and removed through the
// interface, whose followers do the rest (EthLagIntfMgrState.cpp).
//
//    eth_lag_intf_is(lag) ---> IntfMgr::create ---> intfCreated: a row in lags_, in the same transaction
//    eth_lag_intf_del(lag) --> IntfMgr::remove ---> intfRemoved: the rows of the LAG and of its members go
//
// An operation that moves a member first notes its events and then watches the LAGs that it concerns: consequences come
// in the order in which they were noted, so a handler hears of the member before it hears of the LAG's state and speed.
namespace velm::embedded {

EthLagIntfMgr::EthLagIntfMgr(CallLedger& ledger, MainLoop& loop, IntfMgr& intfs)
   : loop_(loop), intfs_(intfs), operations_(ledger) {
   intfs_.followerIs(*this);
}

void EthLagIntfMgr::storeIs(Store& store) {
   lags_.storeIs(store, StoredTable::lags);
   members_.storeIs(store, StoredTable::lagMembers);
   Inside const inside(operations_.ledger());
   members_.each([&](intf_id_t const& intf, LagMember const&) { memberTimes_.set(inside, intf, timestamp()); });
   lags_.each([&](intf_id_t const& lag, Lag const&) { intfs_.tellDataplane(lag); });
}

// LAGs.

void EthLagIntfMgr::demand(intf_id_t lag) const {
   if (!lags_.contains(lag)) throw configuration_error(fmt::format("no such LAG {}", lag.to_string()));
}

template <class T>
void EthLagIntfMgr::lagIs(Call const& call, intf_id_t lag, T Lag::*attribute, T value) {
   demand(lag);
   Transaction transaction(call);
   watch(transaction, lag);
   lags_.update(transaction, lag, [&](Lag& row) { row.*attribute = value; });
   transaction.commit();
}

eth_lag_intf_iter_t EthLagIntfMgr::eth_lag_intf_iter() const {
   Call const call(operations_);
   return makeTableIter(lags_, [](intf_id_t const& lag, Lag const&) { return lag; });
}

bool EthLagIntfMgr::exists(intf_id_t lag) const {
   Call const call(operations_);
   return lags_.contains(lag);
}

eth_lag_intf_member_iter_t EthLagIntfMgr::eth_lag_intf_member_iter(intf_id_t lag) const {
   Call const call(operations_);
   return makeSnapshotIter(members(lag), [this, lag](intf_id_t const& intf) { return member(intf).lag == lag; });
}

void EthLagIntfMgr::eth_lag_intf_is(intf_id_t lag) {
   Call const call(operations_);
   if (!isLagName(lag)) throw invalid_argument_error(fmt::format("'{}' is not the name of a LAG", lag.to_string()));
   intfs_.create(lag);
}

eth_lag_intf_t EthLagIntfMgr::eth_lag_intf(intf_id_t lag) const {
   Call const call(operations_);
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
   Call const call(operations_);
   if (lags_.contains(lag)) intfs_.remove(lag);
}

std::uint64_t EthLagIntfMgr::speed(intf_id_t lag) const {
   Call const call(operations_);
   return speedOf(lag);
}

std::uint32_t EthLagIntfMgr::min_links(intf_id_t lag) const {
   Call const call(operations_);
   return this->lag(lag).minLinks;
}

void EthLagIntfMgr::min_links_is(intf_id_t lag, std::uint32_t min_links) {
   Call const call(operations_);
   lagIs(call, lag, &Lag::minLinks, min_links);
}

eth_lag_intf_fallback_type_t EthLagIntfMgr::fallback_type(intf_id_t lag) const {
   Call const call(operations_);
   return this->lag(lag).fallbackType;
}

void EthLagIntfMgr::fallback_type_is(intf_id_t lag, eth_lag_intf_fallback_type_t type) {
   Call const call(operations_);
   lagIs(call, lag, &Lag::fallbackType, type);
}

unsigned short EthLagIntfMgr::fallback_timeout(intf_id_t lag) const {
   Call const call(operations_);
   return this->lag(lag).fallbackTimeout;
}

void EthLagIntfMgr::fallback_timeout_is(intf_id_t lag, unsigned short timeout) {
   Call const call(operations_);
   lagIs(call, lag, &Lag::fallbackTimeout, timeout);
}

unsigned short EthLagIntfMgr::fallback_timeout_default(intf_id_t) const {
   Call const call(operations_);
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
void EthLagIntfMgr::memberIs(Call const& call, intf_id_t intf, T LagMember::*attribute, T value) {
   bool const known = members_.amend(call, intf, [&](LagMember& row) { row.*attribute = value; });
   if (!known) throw configuration_error(fmt::format("{} is in no LAG", intf.to_string()));
}

void EthLagIntfMgr::membership_set(intf_id_t intf, intf_id_t lag, eth_lag_intf_member_lacp_mode_t mode) {
   Call const call(operations_);
   checkMember(intf);
   demand(lag);
   auto next = member(intf);
   auto const before = next.lag;
   Transaction transaction(call);
   if (before != lag) {
      if (before != intf_id_t()) left(transaction, intf, before);
      joined(transaction, intf, lag);
      watch(transaction, before);
      watch(transaction, lag);
      next = {.lag = lag};
   }
   next.mode = mode;
   members_.set(transaction, intf, next);
   transaction.commit();
}

void EthLagIntfMgr::membership_del(intf_id_t intf) {
   Call const call(operations_);
   auto const lag = member(intf).lag;
   Transaction transaction(call);
   if (!members_.del(transaction, intf)) return;
   left(transaction, intf, lag);
   watch(transaction, lag);
   transaction.commit();
}

intf_id_t EthLagIntfMgr::membership(intf_id_t intf) const {
   Call const call(operations_);
   return member(intf).lag;
}

eth_lag_intf_membership_t EthLagIntfMgr::membership_status(intf_id_t intf) const {
   Call const call(operations_);
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
   Call const call(operations_);
   return member(intf).priority;
}

void EthLagIntfMgr::member_priority_is(intf_id_t intf, unsigned short priority) {
   Call const call(operations_);
   memberIs(call, intf, &LagMember::priority, priority);
}

eth_lag_intf_member_lacp_mode_t EthLagIntfMgr::member_mode(intf_id_t intf) const {
   Call const call(operations_);
   return member(intf).mode;
}

void EthLagIntfMgr::member_mode_is(intf_id_t intf, eth_lag_intf_member_lacp_mode_t mode) {
   Call const call(operations_);
   memberIs(call, intf, &LagMember::mode, mode);
}

eth_lag_intf_member_lacp_timeout_t EthLagIntfMgr::member_timeout(intf_id_t intf) const {
   Call const call(operations_);
   return member(intf).timeout;
}

void EthLagIntfMgr::member_timeout_is(intf_id_t intf, eth_lag_intf_member_lacp_timeout_t timeout) {
   Call const call(operations_);
   memberIs(call, intf, &LagMember::timeout, timeout);
}

bool EthLagIntfMgr::member_active(intf_id_t intf) const {
   Call const call(operations_);
   return active(intf);
}

double EthLagIntfMgr::member_time(intf_id_t intf) const {
   Call const call(operations_);
   double const* const time = memberTimes_.find(intf);
   return time == nullptr ? 0 : *time;
}

std::string EthLagIntfMgr::member_reason(intf_id_t intf) const {
   Call const call(operations_);
   return reason(intf);
}

}  // namespace velm::embedded
