#pragma once

#include <string>

#include "velmsdk.pb.h"

namespace VelmSdkRpc {

class ClientInit;

/// Answers for CBF redirects, which this agent does not program: refused, with a text that says so.
class CbfNhgRedirectProgrammer {
 public:
   explicit CbfNhgRedirectProgrammer(ClientInit const& clientInit);

   void processCbfNhgRedirectRequest(pb::cbf_nexthop_group_redirect_msg const& request, pb::rpc_status_msg& status);
   void processCbfNhgRedirectBulkRequest(pb::cbf_nexthop_group_redirect_bulk_msg const& request,
                                         pb::rpc_status_bulk_msg& status);
   /// Takes the name of the policy map; whether it was in force already, as the empty one is at first.
   bool cbrPolicyMapNameIs(std::string const& name);
   /// A resync has nothing to purge while no redirect can exist.
   void resyncStart() {}
   void resyncEnd() {}

 private:
   ClientInit const& clientInit_;
   std::string policyMapName_;  // the name in force
};

}  // namespace VelmSdkRpc
