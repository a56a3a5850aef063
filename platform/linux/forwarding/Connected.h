#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "platform/linux/forwarding/Exits.h"
#include "platform/linux/forwarding/RouteRoom.h"
#include "platform/linux/forwarding/Vrfs.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"

namespace velm::machine {

/// What the machine itself has to say of addresses, beside the programmed routes: its own addresses and the networks
/// that it is on are the kernel's; a host on one of these that the kernel has resolved is reached without it, unless a
/// prefix between the network's and its own leads elsewhere. The SDK lock guards it.
class Connected {
 public:
   struct Callbacks {
      /// The networks of the switch have changed.
      std::function<void()> networksChanged;
      /// Something could not be entered, since a table is full: such packets find what else there is.
      std::function<void(std::string const& what)> left;
   };

   Connected(Vrfs& vrfs, Exits& exits, RouteRoom& room, Callbacks callbacks)
      : vrfs_(vrfs), exits_(exits), room_(room), callbacks_(std::move(callbacks)) {}
   Connected(Connected const&) = delete;
   Connected& operator=(Connected const&) = delete;

   using Addresses = absl::btree_set<ip_addr_mask_t>;
   /// The interface is in that VRF and has these addresses, none when it has gone.
   void portIs(intf_id_t intf, std::string const& vrf, Addresses addresses);
   /// The kernel has resolved the host, or does not know it any more.
   void hostIs(intf_id_t intf, ip_addr_t const& address, bool resolved);

   /// A route of the prefix came or went.
   void routeChanged(std::string const& vrf, ip_prefix_t const& prefix);

   /// The interface of the VRF on whose networks the address lies, by the longest of them; none if there is none.
   intf_id_t towards(std::string const& vrf, ip_addr_t const& address) const;
   /// An address of the interface, of the family; null if it has none.
   ip_addr_t addressOf(intf_id_t intf, af_t af) const;

 private:
   struct Port {
      std::string vrf;
      Addresses addresses;
      absl::btree_set<ip_addr_t> resolved;
   };
   using Place = std::tuple<std::string, ip_prefix_t, Rank>;
   struct Host {
      intf_id_t intf;
      Exits::Id exit;
      unsigned network;      // the length of its prefix
      bool entered = false;  // into the routes
   };
   using Hosts = absl::btree_map<ip_addr_t, Host>;

   void kernelHas(std::string const& vrf, ip_addr_mask_t const& address, bool on);
   void countKernel(Place const& place, bool on);
   static std::optional<unsigned> networkOn(Port const& port, ip_addr_t const& address);
   void addHost(intf_id_t intf, Port const& port, ip_addr_t const& address);
   void dropHost(std::string const& vrf, intf_id_t intf, ip_addr_t const& address);
   void refresh(std::string const& vrf, ip_addr_t const& address, Host& host);
   bool enter(Place const& place, std::uint32_t leaf);

   Vrfs& vrfs_;
   Exits& exits_;
   RouteRoom& room_;
   Callbacks const callbacks_;
   absl::btree_map<intf_id_t, Port> ports_;
   absl::btree_map<Place, std::uint32_t> kernels_;  // how many interfaces say so
   absl::btree_map<std::string, Hosts> hosts_;      // by VRF
};

}  // namespace velm::machine
