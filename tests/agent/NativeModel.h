#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

/// What the native requests leave in the switch, told in the simplest way: by key, the last request that succeeded.
/// Says of each request how it is answered, and lists its tables in the lines of SwitchLines.h.
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
   /// Pairs take no part in a resync.
   Result apply(pb::rpc_server_state_config_msg const& request);

   /// What is held becomes stale until it is set again; the end drops what still is.
   void startResync();
   void endResync();

   /// Calls fn(request) for each that made what is held.
   template <class Fn>
   void eachHeld(Fn&& fn) const {
      auto const each = [&](auto const& table) {
         for (auto const& [key, held] : table) fn(held.request);
      };
      each(groups_);
      each(tunnels_);
      each(routes_);
      each(labels_);
   }

   /// "g 3", with the number of entries.
   std::vector<std::string> groups() const;
   /// "10.0.0.0/8 g 7", with the tag.
   std::vector<std::string> routes() const;
   std::vector<std::string> tunnels() const;
   std::vector<std::string> labels() const;
   std::map<std::string, std::string> const& pairs() const { return pairs_; }

 private:
   template <class Request>
   struct Held {
      Request request;
      bool stale = false;
   };
   template <class Request>
   using Table = std::map<std::string, Held<Request>>;

   template <class Request>
   static Result put(Table<Request>& table, std::string const& key, Request const& request);
   template <class Request>
   static Result erase(Table<Request>& table, std::string const& key);
   template <class Fn>
   void eachTable(Fn&& fn);

   std::uint32_t tag_ = 0;
   std::uint32_t resyncTag_ = 0;
   Table<pb::nexthop_group_msg> groups_;
   Table<pb::nexthop_group_tunnel_msg> tunnels_;
   Table<pb::ip_route_msg> routes_;
   Table<pb::mpls_route_msg> labels_;
   std::map<std::string, std::string> pairs_;
};

}  // namespace VelmSdkRpc
