#pragma once

#include <absl/container/btree_map.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/PolicyRules.h"
#include "platform/linux/forwarding/Redirects.h"
#include "platform/switch/Carrier.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/PolicyMapMgr.h"

namespace velm::machine {

/// Keeps a part of what policy maps rest on.
template <class Key, class Row>
class PartCarrier : public embedded::Boundless<Key, Row> {
 public:
   PartCarrier(absl::btree_map<Key, Row>& rows, bool& changed) : rows_(rows), changed_(changed) {}

   void carryOut(Key const& key, Row const* now, embedded::Room) noexcept override {
      rows_.erase(key);
      if (now != nullptr) rows_.emplace(key, *now);
      changed_ = true;
   }

 private:
   absl::btree_map<Key, Row>& rows_;
   bool& changed_;
};

/// Carries out policy maps, with the class maps and ACLs that they rest on. What a hold of the SDK lock changes is read
/// once, at its end: a client writes thousands of ACLs in one.
class PolicyMapCarrier : public embedded::Boundless<policy_map_key_t, embedded::PolicyMap> {
 public:
   /// The redirects that hold on the interface are others now.
   using Changed = std::function<void(intf_id_t)>;

   PolicyMapCarrier(embedded::MainLoop& loop, embedded::PolicyMapReports& reports, Redirects::Rows& rows,
                    Groups& groups, Changed changedOn)
      : loop_(loop), reports_(reports), rows_(rows), groups_(groups), changedOn_(std::move(changedOn)) {}

   embedded::Carrier<policy_map_key_t, class_map_t>& classMaps() { return classMaps_; }
   embedded::Carrier<acl_key_t, embedded::Acl>& acls() { return acls_; }

   void carryOut(policy_map_key_t const& key, embedded::PolicyMap const* now, embedded::Room) noexcept override;
   /// Whose redirects hold for what comes in by the interface; 0 for nobody's.
   Redirects::Id policyOn(intf_id_t intf) const;
   /// Before the lock is given back.
   void settle() noexcept;

 private:
   struct Policy {
      embedded::PolicyMap row;
      std::unique_ptr<Redirects> redirects;
      std::string why;                                                 // it is not carried out
      std::map<policy_map_hw_status_key_t, policy_map_status_t> told;  // of each place
      bool answer = false;                                             // a set waits for one
   };

   void read(policy_map_key_t const& key, Policy& policy);
   void place(policy_map_key_t const& key, Policy& policy);
   void tell(policy_map_key_t const& key, Policy& policy, policy_map_hw_status_key_t const& place,
             std::optional<policy_map_status_t> status);

   embedded::MainLoop& loop_;
   embedded::PolicyMapReports& reports_;
   Redirects::Rows& rows_;
   Groups& groups_;
   Changed const changedOn_;
   PolicyParts parts_;
   bool changed_ = false;
   PartCarrier<policy_map_key_t, class_map_t> classMaps_{parts_.classMaps, changed_};
   PartCarrier<acl_key_t, embedded::Acl> acls_{parts_.acls, changed_};
   absl::btree_map<policy_map_key_t, Policy> policies_;
   absl::btree_map<intf_id_t, policy_map_key_t> byIntf_;  // whose redirects hold there
   Redirects::Id lastId_ = 0;
};

}  // namespace velm::machine
