#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/support/Native.h"
#include "tests/support/SwitchTables.h"

namespace VelmSdkRpc {

/// What native requests leave in the switch, told in the simplest way: by key, the last request that succeeded. Says of
/// each request how it is answered.
class NativeModel {
 public:
   using Result = pb::rpc_status_msg::rpc_status_value_enum;

   explicit NativeModel(std::uint32_t tag) { tagIs(tag); }

   /// Routes must carry the tag; any will do for 0, and a resync then goes by the one before.
   void tagIs(std::uint32_t tag);

   Result apply(pb::nexthop_group_msg const& request);
   Result apply(pb::nexthop_group_tunnel_msg const& request);
   Result apply(pb::ip_route_msg const& request);
   Result apply(pb::mpls_route_msg const& request);
   Result apply(pb::rpc_server_state_config_msg const& request);
   /// Takes every session for a good one.
   Result apply(pb::sbfd_echo_session_msg const& request);
   /// Carries the element out, and says whether it is rightly answered so. The removal of a redirect comes within a
   /// second, and not at all if the agent ends before: more than one answer may be right.
   bool apply(Element const& element, Result result);
   /// Carries out what has succeeded.
   void done(Element const& element) { apply(element, pb::rpc_status_msg::STATUS_SUCCESS); }

   /// What is held becomes stale until it is set again; the end drops what still is. Pairs take no part.
   void startResync();
   void endResync();

   /// What made all that is held, but for pairs.
   std::vector<Element> held() const;
   /// Whether anything of the kind is held, by the first word of its key.
   bool holds(std::string const& kind) const;
   /// With `purging` a purge of what is stale may have got any distance.
   Tables tables(bool purging = false) const;
   /// What the switch may hold once the agent was ended at any moment of the batch.
   std::vector<Tables> during(Batch const& batch, bool purging) const;

 private:
   struct Held {
      Element request;
      std::string text;
      bool stale = false;
   };

   Result put(std::string const& key, Element const& request, std::string text);
   Result erase(std::string const& key);
   bool redirect(pb::cbf_nexthop_group_redirect_msg const& request, Result result);

   std::uint32_t tag_ = 0;
   std::uint32_t resyncTag_ = 0;
   std::map<std::string, Held> held_;  // by the keys of Tables
};

}  // namespace VelmSdkRpc
