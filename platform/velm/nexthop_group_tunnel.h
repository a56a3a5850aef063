#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <tuple>

#include "platform/velm/attribute.h"
#include "platform/velm/errors.h"
#include "platform/velm/ip.h"
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// A tunnel that leads to its endpoint through a nexthop group.
class nexthop_group_tunnel_t {
 public:
   nexthop_group_tunnel_t() = default;

   ip_prefix_t const& tunnel_endpoint() const { return tunnel_endpoint_; }
   void tunnel_endpoint_is(ip_prefix_t const& endpoint) { tunnel_endpoint_ = endpoint; }
   std::string const& nhg_name() const { return nhg_name_; }
   void nhg_name_is(std::string const& name) { nhg_name_ = name; }
   std::uint32_t igp_metric() const { return igp_metric_; }
   void igp_metric_is(std::uint32_t metric) { igp_metric_ = metric; }

   auto operator<=>(nexthop_group_tunnel_t const&) const = default;
   static constexpr auto attributes() {
      using tunnel = nexthop_group_tunnel_t;
      return std::tuple{attribute{"tunnel_endpoint", &tunnel::tunnel_endpoint_},
                        attribute{"nhg_name", &tunnel::nhg_name_}, attribute{"igp_metric", &tunnel::igp_metric_}};
   }

 private:
   ip_prefix_t tunnel_endpoint_;
   std::string nhg_name_;
   std::uint32_t igp_metric_ = 0;
};

using nexthop_group_tunnel_iter_impl = iter_impl<nexthop_group_tunnel_t>;
using nexthop_group_tunnel_iter_t = iter_base<nexthop_group_tunnel_t, nexthop_group_tunnel_iter_impl>;

/// The tunnel table, by endpoint. Thread-safe: each operation is atomic.
class nexthop_group_tunnel_mgr {
 public:
   virtual ~nexthop_group_tunnel_mgr() = default;

   /// Marks every tunnel; setting one clears its mark.
   virtual void resync_init() = 0;
   /// Deletes the tunnels that are still marked.
   virtual void resync_complete() = 0;
   virtual nexthop_group_tunnel_iter_t nexthop_group_tunnel_iter() const = 0;

   virtual bool exists(ip_prefix_t const& endpoint) const = 0;
   /// Throws invalid_argument_error for an endpoint without a tunnel.
   virtual nexthop_group_tunnel_t nexthop_group_tunnel(ip_prefix_t const& endpoint) const = 0;
   /// Creates or replaces. Throws invalid_range_error for an endpoint longer than its family.
   virtual void nexthop_group_tunnel_set(nexthop_group_tunnel_t const& tunnel) = 0;
   /// Deleting one that is absent is no error.
   virtual void nexthop_group_tunnel_del(ip_prefix_t const& endpoint) = 0;
};

}  // namespace velm
