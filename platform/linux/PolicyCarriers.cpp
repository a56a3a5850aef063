#include "platform/linux/PolicyCarriers.h"

#include "platform/velm/errors.h"

namespace velm::machine {

void PolicyMapCarrier::carryOut(policy_map_key_t const& key, embedded::PolicyMap const* now, embedded::Room) noexcept {
   if (now == nullptr) {
      auto const found = policies_.find(key);
      if (found == policies_.end()) return;
      found->second.row.applied.clear();
      place(key, found->second);
      policies_.erase(found);
      loop_.post([this, key] { reports_.policyMapGone(key); });
      return;
   }
   auto& policy = policies_[key];
   policy.row = *now;
   policy.answer |= now->asked.set;
   if (now->asked.place) policy.told.erase(*now->asked.place);  // is answered even if nothing is new
   changed_ = true;
}

Redirects::Id PolicyMapCarrier::policyOn(intf_id_t intf) const {
   auto const held = byIntf_.find(intf);
   return held == byIntf_.end() ? 0 : policies_.at(held->second).redirects->policy();
}

void PolicyMapCarrier::settle() noexcept {
   if (!std::exchange(changed_, false)) return;
   for (auto& [key, policy] : policies_) {
      read(key, policy);
      place(key, policy);
   }
}

void PolicyMapCarrier::read(policy_map_key_t const& key, Policy& policy) {
   if (policy.redirects == nullptr) policy.redirects = std::make_unique<Redirects>(++lastId_, rows_, groups_);
   auto const before = std::exchange(policy.why, {});
   try {
      policy.redirects->set(redirectsOf(policy.row.map, parts_));
   } catch (error const& e) {
      policy.why = e.msg();
      policy.redirects->set({});
   }
   bool const fails = !policy.why.empty();
   if (!std::exchange(policy.answer, false) && (!fails || policy.why == before)) return;
   if (fails) {
      loop_.post([this, key, why = policy.why] { reports_.policyMapSyncFailed(key, why); });
   } else {
      loop_.post([this, key] { reports_.policyMapSynced(key); });
   }
}

void PolicyMapCarrier::place(policy_map_key_t const& key, Policy& policy) {
   for (auto it = policy.told.begin(); it != policy.told.end();) {
      auto const where = it++->first;
      if (!policy.row.applied.contains(where)) tell(key, policy, where, std::nullopt);
   }
   for (auto const& where : policy.row.applied) {
      auto const held = byIntf_.find(where.intf_id());
      bool const isFree = held == byIntf_.end() || held->second == key;
      auto const status = where.direction() != acl_direction_t::in ? policy_map_status_t::unsupported
                          : !isFree || !policy.why.empty()         ? policy_map_status_t::failed
                                                                   : policy_map_status_t::programmed;
      auto const told = policy.told.find(where);
      if (told == policy.told.end() || told->second != status) tell(key, policy, where, status);
   }
}

void PolicyMapCarrier::tell(policy_map_key_t const& key, Policy& policy, policy_map_hw_status_key_t const& where,
                            std::optional<policy_map_status_t> status) {
   auto const held = byIntf_.find(where.intf_id());
   if (status == policy_map_status_t::programmed) {
      byIntf_.insert_or_assign(where.intf_id(), key);
      changedOn_(where.intf_id());
   } else if (held != byIntf_.end() && held->second == key && where.direction() == acl_direction_t::in) {
      byIntf_.erase(held);
      changedOn_(where.intf_id());
   }
   if (status) {
      policy.told[where] = *status;
   } else {
      policy.told.erase(where);
   }
   loop_.post([this, key, where, status] { reports_.policyMapStatus(key, where, status); });
}

}  // namespace velm::machine
