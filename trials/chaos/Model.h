#pragma once

#include "tests/agent/NativeModel.h"
#include "trials/chaos/Tables.h"

namespace VelmSdkRpc::chaos {

/// The tag of all routes, and the policy map of all redirects.
constexpr std::uint32_t tag = 7;
constexpr auto policyMap = "chaos";

/// What one controller knows of the switch by the answers it had, of all native kinds.
class Model {
 public:
   using Result = NativeModel::Result;

   /// Carries the element out, and says whether it is rightly answered so.
   bool apply(Element const& element, Result result);
   void apply(Element const& element) { apply(element, pb::rpc_status_msg::STATUS_SUCCESS); }

   void startResync();
   void endResync();

   /// What made all that is there, but for pairs, which no resync concerns.
   std::vector<Element> held() const;
   /// `purging` if a purge of what is stale may have got any distance.
   Tables tables(bool purging = false) const;

   /// What the switch may hold once it has been ended at any moment of the batch.
   std::vector<Tables> during(Batch const& batch, bool purging) const;

 private:
   struct Kept {
      Element request;
      std::string text;
      bool stale = false;
   };
   Result set(pb::sbfd_echo_session_msg const& request);
   bool set(pb::cbf_nexthop_group_redirect_msg const& request, Result result);

   NativeModel native_{tag};
   std::map<std::string, Kept> kept_;  // sessions and redirects
};

}  // namespace VelmSdkRpc::chaos
