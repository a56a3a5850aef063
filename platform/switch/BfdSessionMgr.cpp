#include "platform/switch/BfdSessionMgr.h"

#include <fmt/format.h>

#include <utility>

#include "platform/switch/Iterators.h"

// The agent asks for a session, and the dataplane reports how it fares. The two meet here:
//
//    sbfd_echo_session_set, _interval_is, _rtt_enabled_is, _del
//         |  the row in table_, stored
//         v
//    the table's carrier, Dataplane::sbfdSessions
//                                 |  later, on the main loop
//                                 v
//    events to handlers <--- sbfdStatus: kept in statuses_, and told if it is new
//                       <--- sbfdRtt: told if the session is up, and kept nowhere
//
// The dataplane follows the table rather than the operations, so that sessions that come back from the folder reach it
// in the same way. The event of a set is queued before it learns of the session, so before all that it reports. A
// status is an observation: it is not stored, and it ends with its session.
namespace velm::embedded {

BfdSessionMgr::BfdSessionMgr(CallLedger& ledger, MainLoop& loop) : loop_(loop), operations_(ledger) {}

// Whoever is told of a session is told its nexthop.
static void decode(StoredBytes& in, sbfd_echo_session_key_t& key) {
   decode<sbfd_echo_session_key_t>(in, key);
   if (key.nexthop().af() == af_t::none) throw DamagedState("a stored sBFD session names no nexthop");
}

void BfdSessionMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::sbfdSessions); }

template <class T>
void BfdSessionMgr::change(Call const& call, sbfd_echo_session_key_t const& key, T SbfdSession::*part, T const& value) {
   SbfdSession const* const session = table_.find(key);
   if (session == nullptr) throw configuration_error(fmt::format("no such sBFD echo session {}", key.to_string()));
   if (session->*part != value) table_.amend(call, key, [&](SbfdSession& row) { row.*part = value; });
}

// Always queued, also on the main loop: what the dataplane reports must not overtake what a command simulated before.
// Echo sessions are watched all or not at all, so their events go by a key that no plain session has.
template <class Fn>
void BfdSessionMgr::raise(Fn fn) {
   loop_.post([this, fn] { notify(bfd_session_key_t(), fn); });
}

void BfdSessionMgr::raiseStatus(sbfd_echo_session_key_t const& key, bfd_session_status_t status) {
   raise([key, status](bfd_session_handler& handler) { handler.on_sbfd_echo_session_status(key, status); });
}

sbfd_echo_session_iter_t BfdSessionMgr::sbfd_echo_session_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](sbfd_echo_session_key_t const& key, SbfdSession const&) { return key; });
}

void BfdSessionMgr::sbfd_echo_session_set(sbfd_echo_session_key_t const& key) {
   Call const call(operations_);
   if (key.nexthop().af() == af_t::none)
      throw invalid_argument_error(fmt::format("sBFD session {} names no nexthop", key.to_string()));
   if (table_.contains(key)) return;
   Transaction transaction(call);
   transaction.onCommit(
      [this, key] { raise([key](bfd_session_handler& handler) { handler.on_sbfd_echo_session_set(key); }); });
   table_.set(transaction, key, {});
   transaction.commit();
}

void BfdSessionMgr::sbfd_echo_session_del(sbfd_echo_session_key_t const& key) {
   Call const call(operations_);
   if (!table_.del(call, key)) return;
   statuses_.erase(key);
   raise([key](bfd_session_handler& handler) { handler.on_sbfd_echo_session_del(key); });
}

sbfd_interval_t BfdSessionMgr::sbfd_echo_session_default_interval() const {
   Call const call(operations_);
   return defaultSbfdInterval;
}

void BfdSessionMgr::sbfd_echo_session_interval_is(sbfd_echo_session_key_t const& key, sbfd_interval_t interval) {
   Call const call(operations_);
   change(call, key, &SbfdSession::interval, interval);
}

void BfdSessionMgr::sbfd_echo_session_rtt_enabled_is(sbfd_echo_session_key_t const& key, bool enabled) {
   Call const call(operations_);
   change(call, key, &SbfdSession::rttEnabled, enabled);
}

bfd_session_status_t BfdSessionMgr::sbfd_echo_session_status(sbfd_echo_session_key_t const& key) const {
   Call const call(operations_);
   auto const it = statuses_.find(key);
   return it == statuses_.end() ? bfd_session_status_t::unknown : it->second;
}

void BfdSessionMgr::sbfdStatus(sbfd_echo_session_key_t const& key, bfd_session_status_t status) {
   if (!table_.contains(key)) return;
   auto const [it, isFirst] = statuses_.try_emplace(key, status);
   if (!isFirst && std::exchange(it->second, status) == status) return;
   raiseStatus(key, status);
}

bool BfdSessionMgr::isUp(sbfd_echo_session_key_t const& key) const {
   auto const it = statuses_.find(key);
   return it != statuses_.end() && it->second == bfd_session_status_t::up;
}

// Asked again when the event is delivered: who has deleted the session meanwhile must hear no more of it.
void BfdSessionMgr::sbfdRtt(sbfd_echo_session_key_t const& key, sbfd_echo_session_rtt_stats_t const& stats) {
   if (!isUp(key)) return;
   raise([this, key, stats](bfd_session_handler& handler) {
      if (isUp(key)) handler.on_sbfd_echo_session_rtt(key, stats);
   });
}

void BfdSessionMgr::simulateStatus(sbfd_echo_session_key_t const& key, bfd_session_status_t status) {
   if (table_.contains(key)) statuses_[key] = status;
   raiseStatus(key, status);
}

void BfdSessionMgr::simulateRtt(sbfd_echo_session_key_t const& key, sbfd_echo_session_rtt_stats_t const& stats) {
   raise([key, stats](bfd_session_handler& handler) { handler.on_sbfd_echo_session_rtt(key, stats); });
}

}  // namespace velm::embedded
