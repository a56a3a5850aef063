#include "cbf/CbfNexthopGroupRedirect.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

#include "cbf/CbfRequest.h"
#include "cbf/CbfRuleReader.h"
#include "native/Programmer.h"
#include "platform/pesko/MemTrack.h"
#include "platform/pesko/Task.h"
#include "platform/qor/Assert.h"
#include "platform/qor/HashMap2018Iterator.h"
#include "platform/velm/sdk_lock.h"

// The parts of a redirect are written in the order in which they name each other: ACLs, their commit, class map, rule
// of the policy map, so that the switch never finds a new rule that leads nowhere. A removal takes the class map, the
// rule, and then commits. A bulk request keeps the commit and the policy map for its end, one of each however many
// redirects it has; until then its new class maps name staged ACLs, and no rule names the class maps.
//
// A resync is an epoch, as with sBFD sessions: its start raises the number, an add stamps its record, and the end marks
// what bears another number. Records that were read back after a restart bear the number of that moment, so that they
// go unless the client repeats them.

namespace VelmSdkRpc {
namespace {

using pb::rpc_status_msg;
using Request = pb::cbf_nexthop_group_redirect_msg;

constexpr auto className = "CbfNhgRedirectProgrammer";
constexpr auto policyMapStatusKey = "VelmSdkRpc-cbfNexthopGroupRedirectPolicyMapName";
constexpr auto feature = velm::policy_feature_t::pbr;
constexpr Pesko::TaskPriority removePriority = 4;
constexpr std::chrono::seconds removeDelay{1};

velm::acl_rule_ip_t aclRule(AfDefinitions const& definitions, std::string const& matchGroup, std::uint8_t dscp) {
   velm::acl_rule_ip_t rule;
   rule.action_is(velm::acl_action_t::permit);
   rule.nexthop_group_is(matchGroup);
   rule.priority_mask_is(definitions.dscpMask);
   rule.priority_value_is(definitions.priorityOf(dscp));
   rule.match_ip_priority_is(true);
   return rule;
}

velm::policy_map_rule_t policyMapRule(velm::policy_map_key_t const& classKey, std::string const& redirectGroup) {
   velm::policy_map_action_t action(velm::policy_action_type_t::nexthop_group);
   action.nexthop_group_name_is(redirectGroup);
   velm::policy_map_rule_t rule(classKey);
   rule.action_set(action);
   return rule;
}

}  // namespace

class CbfNhgRedirectProgrammer::RemoveTask : public Pesko::TimerTask {
 public:
   explicit RemoveTask(CbfNhgRedirectProgrammer* programmer)
      : TimerTask(Loom::TaskSchedulerRoot::findOrCreateScheduler()->peskoScheduler(), removePriority,
                  "PolicyMapRemove"),
        programmer_(programmer) {}

 protected:
   void taskExecute() override { taskWorkCountInc(programmer_->processRemove()); }

 private:
   CbfNhgRedirectProgrammer* programmer_;
};

CbfNhgRedirectProgrammer::CbfNhgRedirectProgrammer(ClientInit const& clientInit, velm::policy_map_mgr* policyMapMgr,
                                                   velm::class_map_mgr* classMapMgr, velm::acl_mgr* aclMgr,
                                                   velm::agent_mgr* agentMgr)
   : removeTask_(std::allocate_shared<RemoveTask>(Pesko::Allocator<RemoveTask>(), this)),
     clientInit_(clientInit),
     policyMapMgr_(policyMapMgr),
     classMapMgr_(classMapMgr),
     aclMgr_(aclMgr),
     agentMgr_(agentMgr) {}

CbfNhgRedirectProgrammer::~CbfNhgRedirectProgrammer() = default;

bool CbfNhgRedirectProgrammer::cbrPolicyMapNameIs(std::string const& name) {
   if (name == policyMapName_) return true;
   velm::sdk_scoped_lock const lock;
   policyMapName_ = name;
   policyMapKey_ = {name, feature};
   bool const exists = policyMapMgr_->exists(policyMapKey_);
   policyMap_ = exists ? policyMapMgr_->policy_map(policyMapKey_) : velm::policy_map_t(policyMapKey_);
   // The old value is not used; but a table that cannot be read is not written.
   agentMgr_->status(policyMapStatusKey);
   agentMgr_->status_set(policyMapStatusKey, name);
   if (!exists) return false;
   cleanUp(restore());
   return lastSeq_ != 0;  // a rule was seen, here or under an earlier name
}

// Takes over the redirects of the policy map, and gives the numbers of the rules that are none.
std::vector<std::uint32_t> CbfNhgRedirectProgrammer::restore() {
   std::vector<std::uint32_t> seqsToDelete;
   for (auto const& [seq, rule] : policyMap_.rules()) {
      lastSeq_ = std::max(lastSeq_, seq);
      auto read = readCbfRule(seq, rule, *classMapMgr_, *aclMgr_);
      if (!read) {
         seqsToDelete.push_back(seq);
         continue;
      }
      trace(className, 7, "Restored policy-map seq {} nexthop-group {} -> {} IPv4 DSCP {} IPv6 DSCP {}", seq,
            read->key.matchNexthopGroup, read->key.redirectNexthopGroup, read->dscpValues.ipv4, read->dscpValues.ipv6);
      // If two rules make one redirect, the later is kept; the earlier stays in the policy map and belongs to nobody.
      SeqAndDscpValues record{seq, epoch_, std::move(read->dscpValues)};
      if (auto* known = redirects_.lookupNodeG(read->key)) {
         known->value() = std::move(record);
      } else {
         redirects_.newMemberG(std::move(read->key), std::move(record));
      }
   }
   return seqsToDelete;
}

// Takes rules that are no redirects out of the copy, and what they name from the switch. The policy map itself is not
// written: it is when it next changes, and until then the switch keeps the rules, which lead nowhere any more.
void CbfNhgRedirectProgrammer::cleanUp(std::vector<std::uint32_t> const& seqs) {
   for (auto const seq : seqs) {
      auto const classKey = policyMap_.rules().at(seq).class_map_key();
      policyMap_.rule_del(seq);
      if (!classMapMgr_->exists(classKey)) continue;
      auto const classMap = classMapMgr_->class_map(classKey);
      classMapMgr_->class_map_del(classKey);
      for (auto const& [cmSeq, rule] : classMap.rules()) {
         if (aclMgr_->acl_exists(rule.acl_key())) aclMgr_->acl_del(rule.acl_key());
      }
   }
   if (!seqs.empty()) aclMgr_->acl_commit();
}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectRequest(Request const& request, rpc_status_msg& status) {
   processCbfNhgRedirectRequestInternal(request, status, true);
}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest(pb::cbf_nexthop_group_redirect_bulk_msg const& request,
                                                                pb::rpc_status_bulk_msg& status) {
   answerEach(request.cbf_nexthop_group_redirect(), status, [&](auto const& element, auto& answered) {
      processCbfNhgRedirectRequestInternal(element, answered, false);
   });
   // Without a lock around the two, which need not be one step; each manager takes it for itself. The copy is not
   // written meanwhile: requests come one at a time, and the task changes it under the lock, which the manager holds by
   // the time it reads the copy.
   aclMgr_->acl_commit();
   policyMapMgr_->policy_map_is(policyMap_);
}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectRequestInternal(Request const& request, rpc_status_msg& status,
                                                                    bool commit) {
   answer(clientInit_, className, request, status, [&](std::string& error) { return process(request, error, commit); });
}

std::uint32_t CbfNhgRedirectProgrammer::process(Request const& request, std::string& error, bool commit) {
   if (policyMapName_.empty()) {
      return refuse(className, error, "Error: no cbf_nexthop_group_redirect_policy_map_name specified in init");
   }
   if (auto fault = faultOf(request); !fault.empty()) return refuse(className, error, std::move(fault));
   velm::sdk_scoped_lock const lock;
   if (request.request_delete()) return removeRedirect(keyOf(request));
   addRedirect(keyOf(request), dscpValuesOf(request), commit);
   return rpc_status_msg::STATUS_SUCCESS;
}

void CbfNhgRedirectProgrammer::addRedirect(Key const& key, DscpValues&& dscpValues, bool commit) {
   auto* const redirect = redirects_.lookupNodeG(key);
   if (redirect == nullptr) return newRedirect(key, std::move(dscpValues), commit);
   auto& record = redirect->value();
   record.epoch = epoch_;
   bool const wasPending = pendingRemovals_.deleteMemberG(key);  // the task then finds one less, or none
   if (record.dscpValues != dscpValues) return updateRedirect(*redirect, std::move(dscpValues), commit);
   trace(className, 6, "Ignore add {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {} existing sequence{}",
         policyMapName_, record.seq, key.matchNexthopGroup, key.redirectNexthopGroup, dscpValues.ipv4, dscpValues.ipv6,
         wasPending ? " unscheduled pending removal" : "");
}

void CbfNhgRedirectProgrammer::updateRedirect(Redirects::Node& redirect, DscpValues&& dscpValues, bool commit) {
   auto const& key = redirect.key();
   auto& [seq, epoch, values] = redirect.value();  // class map and rule name the ACLs, and stay as they are
   trace(className, 6, "Update Acl {} seq {} matching {} redirect {} IPv4-DSCP {}->{} IPv6-DSCP {}->{}", policyMapName_,
         seq, key.matchNexthopGroup, key.redirectNexthopGroup, values.ipv4, dscpValues.ipv4, values.ipv6,
         dscpValues.ipv6);
   // The record first: where the switch refuses an ACL, a repeated request finds nothing to change.
   values = std::move(dscpValues);
   auto const name = key.uniqueName();
   addAcl(ipv4Definitions, name, key.matchNexthopGroup, values.ipv4, true);
   addAcl(ipv6Definitions, name, key.matchNexthopGroup, values.ipv6, true);
   if (commit) aclMgr_->acl_commit();
   trace(className, 1, "Updated Acl for {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {}", policyMapName_,
         seq, key.matchNexthopGroup, key.redirectNexthopGroup, values.ipv4, values.ipv6);
}

void CbfNhgRedirectProgrammer::newRedirect(Key const& key, DscpValues&& dscpValues, bool commit) {
   auto const name = key.uniqueName();
   auto const ipv4Key = addAcl(ipv4Definitions, name, key.matchNexthopGroup, dscpValues.ipv4, false);
   auto const ipv6Key = addAcl(ipv6Definitions, name, key.matchNexthopGroup, dscpValues.ipv6, false);
   if (commit) aclMgr_->acl_commit();
   velm::policy_map_key_t const classKey(name, feature);
   velm::class_map_t classMap(classKey);
   classMap.rule_set(1, velm::class_map_rule_t(ipv4Key));
   classMap.rule_set(2, velm::class_map_rule_t(ipv6Key));
   classMapMgr_->class_map_is(classMap);
   auto const seq = ++lastSeq_;
   auto const& values =
      redirects_.newMemberG(key, SeqAndDscpValues{seq, epoch_, std::move(dscpValues)}).value().dscpValues;
   policyMap_.rule_set(seq, policyMapRule(classKey, key.redirectNexthopGroup));
   if (commit) policyMapMgr_->policy_map_is(policyMap_);
   trace(className, 1, "Added {} seq {} matching {} redirect {} IPv4-DSCP {} IPv6-DSCP {}", policyMapName_, seq,
         key.matchNexthopGroup, key.redirectNexthopGroup, values.ipv4, values.ipv6);
}

velm::acl_key_t CbfNhgRedirectProgrammer::addAcl(AfDefinitions const& definitions, std::string const& name,
                                                 std::string const& matchGroup, DscpValues::Values const& values,
                                                 bool prune) {
   auto const key = definitions.aclKey(name);
   std::uint32_t seq = 0;
   for (auto const dscp : values) aclMgr_->acl_rule_set(key, ++seq, aclRule(definitions, matchGroup, dscp));
   // New values overwrite the first rules; of a longer list before, the rest goes. A new ACL has no rest.
   if (prune) {
      for (auto it = aclMgr_->acl_rule_ip_iter(key); it; ++it) {
         if (auto const present = (*it).first; present > seq) aclMgr_->acl_rule_del(key, present);
      }
   }
   trace(className, 5, "Added ACL {}", key.acl_name());
   return key;
}

void CbfNhgRedirectProgrammer::removeAcl(AfDefinitions const& definitions, std::string const& name) {
   auto const key = definitions.aclKey(name);
   aclMgr_->acl_del(key);
   trace(className, 5, "Removed ACL {}", key.acl_name());
}

std::uint32_t CbfNhgRedirectProgrammer::removeRedirect(Key const& key) {
   auto const* redirect = redirects_.lookupNodeG(key);
   if (redirect == nullptr) {
      trace(className, 6, "Ignore remove {} matching {} redirect {} no matching sequence", policyMapName_,
            key.matchNexthopGroup, key.redirectNexthopGroup);
      return rpc_status_msg::STATUS_NOT_FOUND;
   }
   scheduleRemoveRedirect(key);
   trace(className, 1, "Scheduled removal {} seq {} matching {} redirect {}", policyMapName_, redirect->value().seq,
         key.matchNexthopGroup, key.redirectNexthopGroup);
   return rpc_status_msg::STATUS_SUCCESS;
}

void CbfNhgRedirectProgrammer::scheduleRemoveRedirect(Key const& key) {
   if (pendingRemovals_.lookupNodeG(key) != nullptr) return;
   pendingRemovals_.newMemberG(key);
   removeTask_->scheduleTaskLowestDelay(removeDelay);  // a delay that is running is not put off
}

// Writes and commits even if adds have taken back every mark. An error of the switch leaves the task, and so ends the
// process: there is no client to tell.
std::uint32_t CbfNhgRedirectProgrammer::processRemove() {
   for (Qor::HashMap2018IteratorGeneric it(pendingRemovals_); it; it.advance()) {
      auto const& key = it.currNodeMaybeStale();
      std::pair<Key, SeqAndDscpValues> removed;
      bool const found = redirects_.deleteMemberG(key, &removed);
      Qor::assertThat(found, "found");
      auto const seq = removed.second.seq;
      policyMap_.rule_del(seq);
      auto const name = key.uniqueName();
      classMapMgr_->class_map_del({name, feature});
      removeAcl(ipv4Definitions, name);
      removeAcl(ipv6Definitions, name);
      trace(className, 1, "Removed {} seq {} matchNhg {} redirectNhg {}", policyMapName_, seq, key.matchNexthopGroup,
            key.redirectNexthopGroup);
   }
   policyMapMgr_->policy_map_is(policyMap_);
   aclMgr_->acl_commit();
   auto const count = static_cast<std::uint32_t>(pendingRemovals_.members());
   trace(className, 1, "Removed {} sequences from {}", count, policyMapName_);
   pendingRemovals_.emptyAllBuckets();
   return count;
}

void CbfNhgRedirectProgrammer::resyncStart() {
   velm::sdk_scoped_lock const lock;
   ++epoch_;
}

void CbfNhgRedirectProgrammer::resyncEnd() {
   velm::sdk_scoped_lock const lock;
   for (Qor::HashMap2018IteratorGeneric it(redirects_); it; it.advance()) {
      auto const& record = it.currNodeNonStale().value();
      if (record.epoch == epoch_) continue;
      auto const& key = it.currNodeMaybeStale();
      scheduleRemoveRedirect(key);
      trace(className, 1, "Scheduled removal {} seq {} matching {} redirect {}", policyMapName_, record.seq,
            key.matchNexthopGroup, key.redirectNexthopGroup);
   }
}

}  // namespace VelmSdkRpc
