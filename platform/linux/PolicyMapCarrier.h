#pragma once

#include "platform/switch/Carrier.h"
#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/PolicyMapMgr.h"

namespace velm::machine {

/// Answers for policy maps: one without rules is carried out, for it does nothing; any other is reported as one that
/// cannot be.
class PolicyMapCarrier : public embedded::Carrier<policy_map_key_t, embedded::PolicyMap> {
 public:
   PolicyMapCarrier(embedded::MainLoop& loop, embedded::PolicyMapReports& reports) : loop_(loop), reports_(reports) {}

   embedded::Room prepare(policy_map_key_t const&, embedded::PolicyMap const*, embedded::PolicyMap const&) override {
      return {};
   }
   void carryOut(policy_map_key_t const& key, embedded::PolicyMap const* now, embedded::Room) noexcept override {
      if (now == nullptr) {
         loop_.post([this, key] { reports_.policyMapGone(key); });
      } else if (now->asked.set && now->map.rules().empty()) {
         loop_.post([this, key] { reports_.policyMapSynced(key); });
      } else if (now->asked.set) {
         loop_.post([this, key] {
            reports_.policyMapSyncFailed(key, "the Linux dataplane does not carry out rules of policy maps");
         });
      }
   }

 private:
   embedded::MainLoop& loop_;
   embedded::PolicyMapReports& reports_;
};

}  // namespace velm::machine
