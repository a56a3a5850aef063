#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cbf/CbfRedirect.h"
#include "platform/qor/HashMap2018.h"
#include "platform/velm/acl.h"
#include "platform/velm/agent.h"
#include "platform/velm/class_map.h"
#include "platform/velm/policy_map.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

class ClientInit;

/// Steers DSCP values of one nexthop group into another. A redirect is an ACL for each address family, a class map that
/// names both, and a rule of the client's one policy map that sends the class to the other group:
///
///    policy map, rule 7  ->  class map "a-b"  ->  ACL "a-b_IPv4": a rule for each value, on group "a"
///      action: group "b"                      ->  ACL "a-b_IPv6": likewise
///
/// The policy map belongs to the agent whole, which keeps a copy and writes that. It is also the memory that outlives
/// the agent: the first rpc_server_init that names it reads the redirects back.
///
/// A removal is a mark at first; a task carries out all marks a second later, with one write and one commit. An add
/// that comes before takes the mark back.
///
/// Requests and resyncs run on the server thread, the task on the main loop; the SDK lock guards all members, but where
/// it is said otherwise.
class CbfNhgRedirectProgrammer {
 public:
   using Key = CbfRedirectKey;
   using DscpValues = CbfDscpValues;

   /// The managers stay the caller's.
   CbfNhgRedirectProgrammer(ClientInit const& clientInit, velm::policy_map_mgr* policyMapMgr,
                            velm::class_map_mgr* classMapMgr, velm::acl_mgr* aclMgr, velm::agent_mgr* agentMgr);
   ~CbfNhgRedirectProgrammer();

   /// Takes the name of the policy map. Whether redirects may be in force: true for the name that is known already,
   /// else whether any rule has been read. Of an existing policy map every rule that is no redirect goes from the copy,
   /// and its class map and ACLs from the switch. Errors of the switch pass through.
   bool cbrPolicyMapNameIs(std::string const& name);

   /// Adds the redirect, changes its values, or marks it for removal. Failures stand in the status; what was written
   /// before one stays.
   void processCbfNhgRedirectRequest(pb::cbf_nexthop_group_redirect_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others. ACLs are committed and the policy map is written once, at
   /// the end, whatever the elements came to; errors of these two pass through.
   void processCbfNhgRedirectBulkRequest(pb::cbf_nexthop_group_redirect_bulk_msg const& request,
                                         pb::rpc_status_bulk_msg& status);

   void resyncStart();
   /// Marks the redirects that were not asked for since the start.
   void resyncEnd();

 private:
   class RemoveTask;

   struct SeqAndDscpValues {
      std::uint32_t seq;   // of the policy map's rule
      std::uint8_t epoch;  // of the resync since whose start it was asked for last
      DscpValues dscpValues;
   };
   struct KeyHash {
      static std::uint32_t hash(Key const& key) { return key.hash(); }
   };
   using Redirects = Qor::HashMap2018<Qor::HashMap2018Node<Key, SeqAndDscpValues, KeyHash>>;

   void processCbfNhgRedirectRequestInternal(pb::cbf_nexthop_group_redirect_msg const& request,
                                             pb::rpc_status_msg& status, bool commit);
   std::uint32_t process(pb::cbf_nexthop_group_redirect_msg const& request, std::string& error, bool commit);

   std::vector<std::uint32_t> restore();
   void cleanUp(std::vector<std::uint32_t> const& seqs);

   // Without `commit` the caller commits and writes the policy map at the end of its bulk.
   void addRedirect(Key const& key, DscpValues&& dscpValues, bool commit);
   void updateRedirect(Redirects::Node& redirect, DscpValues&& dscpValues, bool commit);
   void newRedirect(Key const& key, DscpValues&& dscpValues, bool commit);
   velm::acl_key_t addAcl(AfDefinitions const& definitions, std::string const& name, std::string const& matchGroup,
                          DscpValues::Values const& values, bool prune);
   void removeAcl(AfDefinitions const& definitions, std::string const& name);

   std::uint32_t removeRedirect(Key const& key);
   void scheduleRemoveRedirect(Key const& key);
   /// Carries out the marks and gives their number.
   std::uint32_t processRemove();

   Redirects redirects_;
   std::uint32_t lastSeq_ = 0;  // the highest seen or given; none is given twice
   std::uint8_t epoch_ = 0;     // of resyncs; after 256 of them a record looks fresh again
   std::shared_ptr<RemoveTask> removeTask_;
   Qor::HSet<Key, KeyHash> pendingRemovals_;  // the marks, each on one of redirects_
   std::string policyMapName_;                // written under the lock, read by the server thread without it
   velm::policy_map_key_t policyMapKey_;
   velm::policy_map_t policyMap_;
   ClientInit const& clientInit_;
   velm::policy_map_mgr* policyMapMgr_;
   velm::class_map_mgr* classMapMgr_;
   velm::acl_mgr* aclMgr_;
   velm::agent_mgr* agentMgr_;
};

}  // namespace VelmSdkRpc
