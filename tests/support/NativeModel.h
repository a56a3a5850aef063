#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/support/Native.h"
#include "tests/support/SwitchTables.h"

namespace VelmSdkRpc {

/// A plain model of the native service: by key, the last request that succeeded. Says how each request is answered, and
/// lists the tables that the switch must then show.
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

   /// Everything held but pairs becomes stale until it is set again; the end drops what still is.
   void startResync();
   void endResync();

   /// The requests that made all that is held, but for pairs.
   std::vector<Element> held() const;
   /// Whether anything of the kind is held, by the first word of its key.
   bool holds(std::string const& kind) const;
   /// With `purging` a purge of what is stale may have got any distance.
   Tables tables(bool purging = false) const;
   /// All states in which an agent that is ended during the batch may leave the switch.
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
