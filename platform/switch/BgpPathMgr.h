#pragma once

#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/bgp_path.h"

namespace velm::embedded {

using BgpPathTable = Table<bgp_path_key_t, bgp_path_attr_t>;

/// BGP paths, all of them from the command line; there is no BGP inside. Not stored. The stage that a reader asks for
/// makes no difference: a path is the same at each.
class BgpPathMgr : public bgp_path_mgr {
 public:
   BgpPathMgr(CallLedger& ledger, MainLoop& loop);

   BgpPathTable const& table(bgp_afi_safi_t family) const { return of(family).paths; }

   bgp_path_iter_t ipv4_unicast_path_iter(bgp_path_options_t const& options) const override;
   bgp_path_iter_t ipv6_unicast_path_iter(bgp_path_options_t const& options) const override;
   bgp_path_t ipv4_unicast_path(bgp_path_key_t const& key) const override;
   bgp_path_t ipv6_unicast_path(bgp_path_key_t const& key) const override;
   bool ipv4_unicast_bgp_convergence() const override;
   bool ipv6_unicast_bgp_convergence() const override;

   // The world outside, for the command line. The prefix of a key decides the family.

   /// Sets the path; the event comes unless it stood so already. Throws invalid_range_error for a prefix longer than
   /// its family.
   void pathIs(bgp_path_key_t const& key, bgp_path_attr_t const& attr);
   /// Deleting one that is absent is no error.
   void pathDel(bgp_path_key_t const& key);
   /// Whether the family has converged; the event comes if that is a change.
   void convergedIs(bgp_afi_safi_t family, bool converged);

 private:
   struct Family {
      void (bgp_path_handler::*onPath)(bgp_path_key_t const& key);
      void (bgp_path_handler::*onConverged)(bool converged);
      BgpPathTable paths{};
      bool converged = false;
   };

   Family const& of(bgp_afi_safi_t family) const { return family == bgp_afi_safi_t::ipv4_unicast ? ipv4_ : ipv6_; }
   Family& of(bgp_afi_safi_t family) { return family == bgp_afi_safi_t::ipv4_unicast ? ipv4_ : ipv6_; }
   static bgp_path_iter_t iter(Family const& family, bgp_path_options_t const& options);
   static bgp_path_t read(Family const& family, bgp_path_key_t const& key);
   void raisePath(bgp_path_key_t const& key);

   MainLoop& loop_;
   Family ipv4_{&bgp_path_handler::on_ipv4_unicast_path, &bgp_path_handler::on_ipv4_unicast_bgp_converged};
   Family ipv6_{&bgp_path_handler::on_ipv6_unicast_path, &bgp_path_handler::on_ipv6_unicast_bgp_converged};

   Operations<"bgp_path_mgr", "ipv4_unicast_path_iter", "ipv6_unicast_path_iter", "ipv4_unicast_path",
              "ipv6_unicast_path", "ipv4_unicast_bgp_convergence", "ipv6_unicast_bgp_convergence">
      operations_;
};

/// The family of the paths that lead to a prefix.
bgp_afi_safi_t familyOf(bgp_path_key_t const& key);

}  // namespace velm::embedded
