#pragma once

#include <cstdint>
#include <set>

#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

class ip_intf_mgr;

/// Receives the events of the IP side of interfaces, on the main loop, for those that it watches.
class ip_intf_handler : public base_handler<ip_intf_mgr, ip_intf_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_ip_intfs(bool on);

   // A set that is replaced is told by its differences, first the addresses that went.
   virtual void on_ip_addr_add(intf_id_t /*intf*/, ip_addr_mask_t const& /*addr*/) {}
   virtual void on_ip_addr_del(intf_id_t /*intf*/, ip_addr_mask_t const& /*addr*/) {}
   /// 0 when the interface has none any more.
   virtual void on_internal_vlan_id(intf_id_t /*intf*/, unsigned short /*vlan*/) {}
};

/// The IP side of interfaces, which goes with them. Thread-safe: each operation is atomic, and on any error nothing has
/// changed. An attribute of an unknown interface reads as its default; setting one throws configuration_error.
class ip_intf_mgr : public base_mgr<ip_intf_handler, intf_id_t> {
 public:
   virtual ~ip_intf_mgr() = default;

   /// Whether there is such an interface.
   virtual bool exists(intf_id_t intf) const = 0;
   /// The addresses of the interface, those of both families.
   virtual std::set<ip_addr_mask_t> ip_addrs(intf_id_t intf) const = 0;
   /// Replaces all addresses of the interface. Throws invalid_argument_error for a null address and invalid_range_error
   /// for a mask longer than its family.
   virtual void ip_addrs_is(intf_id_t intf, std::set<ip_addr_mask_t> const& addrs) = 0;
   /// Adds one address; throws as ip_addrs_is does.
   virtual void ip_addr_add(intf_id_t intf, ip_addr_mask_t const& addr) = 0;
   /// An address that the interface does not have is no error.
   virtual void ip_addr_del(intf_id_t intf, ip_addr_mask_t const& addr) = 0;
   /// Whether the agent's addresses join those of the switch's configuration instead of replacing them. The switch
   /// keeps it and does nothing else with it.
   virtual bool ip_addr_merge_mode(intf_id_t intf) const = 0;
   virtual void ip_addr_merge_mode_is(intf_id_t intf, bool merge) = 0;
   /// The VLAN that the switch uses inside for the interface; 0 for none.
   virtual unsigned short internal_vlan_id(intf_id_t intf) const = 0;
};

inline void ip_intf_handler::watch_all_ip_intfs(bool on) { get_mgr()->watch_all(this, on); }

}  // namespace velm
