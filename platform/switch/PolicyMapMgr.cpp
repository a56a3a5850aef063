#include "platform/switch/PolicyMapMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"

// The dataplane has two things to say of a policy map: whether it could be carried out, which follows each set, and its
// status in each place, which follows each application.
//
//    policy_map_is -----> event "config set", row ---> dataplane ---> policyMapSynced or policyMapSyncFailed: event
//    policy_map_apply --> row's places --------------> dataplane ---> policyMapStatus: kept by place, no event
//    policy_map_del ----> row gone ------------------> dataplane ---> policyMapGone: statuses go
//
// The main loop keeps the order: the event of a set is posted before the dataplane is told, so a handler never hears of
// the sync first. A restart applies all maps anew and sets none, since nobody waits for an answer. An answer is owed
// even where the row stays as it was; so the row says what was asked.
namespace velm::embedded {

PolicyMapMgr::PolicyMapMgr(CallLedger& ledger, MainLoop& loop) : loop_(loop), operations_(ledger) {}

void PolicyMapMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::policyMaps); }

void PolicyMapMgr::resync_init() {
   Call const call(operations_);
   table_.markAll(call);
}

void PolicyMapMgr::resync_complete() {
   Call const call(operations_);
   table_.purge(call);
}

bool PolicyMapMgr::exists(policy_map_key_t const& key) const {
   Call const call(operations_);
   return table_.contains(key);
}

policy_map_t PolicyMapMgr::policy_map(policy_map_key_t const& key) const {
   Call const call(operations_);
   PolicyMap const* row = table_.find(key);
   if (row == nullptr) throw invalid_argument_error(fmt::format("no such policy map {}", key.to_string()));
   return row->map;
}

void PolicyMapMgr::policy_map_is(policy_map_t const& policy_map) {
   Call const call(operations_);
   for (auto const& [sequence, rule] : policy_map.rules()) check_lengths(rule.raw_rule());
   if (policy_map.key().name().empty()) return;
   Transaction transaction(call);
   transaction.onCommit([this, key = policy_map.key()] { raiseConfigSet(key); });
   table_.update(transaction, policy_map.key(), [&](PolicyMap& row) {
      row.map = policy_map;
      row.asked = {.set = true};
   });
   transaction.commit();
}

void PolicyMapMgr::policy_map_del(policy_map_key_t const& key) {
   Call const call(operations_);
   table_.del(call, key);
}

policy_map_iter_t PolicyMapMgr::policy_map_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](policy_map_key_t const& key, PolicyMap const&) { return key; });
}

void PolicyMapMgr::policy_map_apply(policy_map_key_t const& key, intf_id_t intf, acl_direction_t direction,
                                    bool apply) {
   Call const call(operations_);
   policy_map_hw_status_key_t const place(intf, direction);
   PolicyMap const* row = table_.find(key);
   if (apply && row == nullptr) throw configuration_error(fmt::format("no such policy map {}", key.to_string()));
   if (apply && intf == intf_id_t()) {
      throw invalid_argument_error(fmt::format("policy map {} needs an interface to be applied to", key.to_string()));
   }
   table_.amend(call, key, [&](PolicyMap& next) {
      if (apply) {
         next.applied.insert(place);
      } else {
         next.applied.erase(place);
      }
      next.asked = {.place = place};
   });
}

policy_map_hw_status_iter_t PolicyMapMgr::policy_map_hw_status_iter() const {
   Call const call(operations_);
   return makeTableIter(statuses_, [](policy_map_key_t const& key, auto const&) { return key; });
}

policy_map_hw_statuses_t PolicyMapMgr::hw_status(policy_map_key_t const& key) const {
   Call const call(operations_);
   auto const* statuses = statuses_.find(key);
   return statuses == nullptr ? policy_map_hw_statuses_t() : policy_map_hw_statuses_t(*statuses);
}

void PolicyMapMgr::policyMapSynced(policy_map_key_t const& key) {
   notify(key, [&](policy_map_handler& handler) { handler.on_policy_map_sync(key); });
}

void PolicyMapMgr::policyMapSyncFailed(policy_map_key_t const& key, std::string const& message) {
   notify(key, [&](policy_map_handler& handler) { handler.on_policy_map_sync_fail(key, message); });
}

void PolicyMapMgr::policyMapStatus(policy_map_key_t const& key, policy_map_hw_status_key_t const& place,
                                   std::optional<policy_map_status_t> status) {
   Inside const inside(operations_.ledger());
   if (status) {
      statuses_.update(inside, key, [&](auto& statuses) { statuses[place] = *status; });
      return;
   }
   statuses_.amend(inside, key, [&](auto& statuses) { statuses.erase(place); });
   if (auto const* left = statuses_.find(key); left != nullptr && left->empty()) statuses_.del(inside, key);
}

void PolicyMapMgr::policyMapGone(policy_map_key_t const& key) {
   Inside const inside(operations_.ledger());
   statuses_.del(inside, key);
}

void PolicyMapMgr::ruleIs(policy_map_key_t const& key, std::uint32_t sequence, policy_map_rule_t const& rule) {
   if (key.name().empty()) throw invalid_argument_error("a policy map needs a name");
   Inside const inside(operations_.ledger());
   table_.update(inside, key, [&](PolicyMap& row) {
      row.map.key_is(key);
      row.map.rule_set(sequence, rule);
      row.asked = {};
   });
}

void PolicyMapMgr::raiseConfigSet(policy_map_key_t const& key) {
   loop_.post(
      [this, key] { notify(key, [&](policy_map_handler& handler) { handler.on_policy_map_config_set(key); }); });
}

}  // namespace velm::embedded
