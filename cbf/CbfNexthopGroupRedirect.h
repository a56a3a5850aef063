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
/// The policy map belongs to the agent, which keeps a copy of the whole and writes that. It is also the memory that
/// outlives the agent: the first rpc_server_init that names it reads the redirects back.
///
/// A removal is a mark at first: the client is told of success, and the switch is not touched. A task carries out all
/// marks a second later, with one write of the policy map and one commit of the ACLs. An add that comes before takes
/// the mark back, so that a client which drops a redirect and sets it again does not interrupt its traffic.
///
///    add: ACLs, class map, rule ---> in force <------------------------+
///                                      |  delete, or a resync that     |  add: takes the mark back, and writes
///                                      |  does not repeat it           |  values that differ
///                                      v                               |
///                                    marked ---------------------------+
///                                      |  the task, a second after the first mark
///                                      v
///                                    gone: rule, class map, ACLs
///
/// Requests and resyncs run on the server thread, the task on the main loop; the SDK lock guards all members, except
/// where a member says otherwise.
class CbfNhgRedirectProgrammer {
 public:
   using Key = CbfRedirectKey;
   using DscpValues = CbfDscpValues;

   /// The managers stay the caller's.
   CbfNhgRedirectProgrammer(ClientInit const& clientInit, velm::policy_map_mgr* policyMapMgr,
                            velm::class_map_mgr* classMapMgr, velm::acl_mgr* aclMgr, velm::agent_mgr* agentMgr);
   ~CbfNhgRedirectProgrammer();

   /// Takes the name of the policy map and reads back what that holds. True if redirects may be in force: the name is
   /// the one that is known already, where nothing is read again, or the policy map exists and a rule has been seen in
   /// one.
   ///
   /// A rule that is no redirect goes from the copy at once, with its class map and ACLs from the switch; the switch
   /// keeps the rule itself until the policy map is written next. Redirects of an earlier name are kept. Errors of the
   /// switch pass through.
   bool cbrPolicyMapNameIs(std::string const& name);

   /// Adds the redirect, changes its values, or marks it for removal. An add of what is there already writes nothing.
   /// Failures stand in the status; what was written before one stays, ACLs that are not committed yet among it.
   void processCbfNhgRedirectRequest(pb::cbf_nexthop_group_redirect_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others. ACLs are committed and the policy map is written once, at
   /// the end, whatever the elements came to and even if there are none; errors of these two pass through.
   void processCbfNhgRedirectBulkRequest(pb::cbf_nexthop_group_redirect_bulk_msg const& request,
                                         pb::rpc_status_bulk_msg& status);

   /// From here on redirects that are asked for count as repeated; the others stay in force until the end.
   void resyncStart();
   /// Marks the redirects that were not asked for since the start. The task removes them, at the earliest a second
   /// later.
   void resyncEnd();

 private:
   class RemoveTask;

   struct SeqAndDscpValues {
      std::uint32_t seq;   // the number of its rule in the policy map
      std::uint8_t epoch;  // epoch_ at the time when it was asked for last
      DscpValues dscpValues;
   };
   struct KeyHash {
      static std::uint32_t hash(Key const& key) { return key.hash(); }
   };
   using Redirects = Qor::HashMap2018<Qor::HashMap2018Node<Key, SeqAndDscpValues, KeyHash>>;

   void processCbfNhgRedirectRequestInternal(pb::cbf_nexthop_group_redirect_msg const& request,
                                             pb::rpc_status_msg& status, bool commit);
   std::uint32_t process(pb::cbf_nexthop_group_redirect_msg const& request, std::string& error, bool commit);

   // All below under the SDK lock.
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
   /// Carries out the marks, and gives their number.
   std::uint32_t processRemove();

   Redirects redirects_;
   std::uint32_t lastSeq_ = 0;  // the highest number of a rule, seen or given; none is given twice
   std::uint8_t epoch_ = 0;     // the resyncs started, of 8 bits: a record that is 256 of them old looks fresh again
   std::shared_ptr<RemoveTask> removeTask_;
   Qor::HSet<Key, KeyHash> pendingRemovals_;  // the marks, each on one of redirects_
   std::string policyMapName_;                // written under the lock, read by the server thread without it
   velm::policy_map_key_t policyMapKey_;
   velm::policy_map_t policyMap_;  // the copy; read without the lock where a bulk request writes it
   ClientInit const& clientInit_;
   velm::policy_map_mgr* policyMapMgr_;
   velm::class_map_mgr* classMapMgr_;
   velm::acl_mgr* aclMgr_;
   velm::agent_mgr* agentMgr_;
};

}  // namespace VelmSdkRpc
