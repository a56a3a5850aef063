#include "platform/linux/forwarding/Connected.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "platform/velm/errors.h"

// Interfaces may share a network, so each entry for the kernel is counted. A host has an entry while the kernel has
// resolved it on a network of the interface; it is not kept resolved for that. When the kernel forgets it, packets for
// it are the kernel's again, which asks anew.
namespace velm::machine {
namespace {

unsigned char bitsOf(af_t af) { return static_cast<unsigned char>(address_size(af) * 8); }

ip_prefix_t hostPrefix(ip_addr_t const& address) { return {address, bitsOf(address.af())}; }
ip_prefix_t networkOf(ip_addr_mask_t const& address) { return {address.addr(), address.mask_length()}; }

bool isIn(ip_addr_t const& address, ip_addr_mask_t const& network) {
   return address.af() == network.af() && ip_prefix_t(address, network.mask_length()) == networkOf(network);
}

// Addresses of the link never reach the lookup: the program leaves them to the kernel.
bool isOfLink(ip_addr_t const& address) {
   return address.af() == af_t::ipv6 && address.addr()[0] == 0xfe && (address.addr()[1] & 0xc0) == 0x80;
}

}  // namespace

bool Connected::enter(Place const& place, std::uint32_t leaf) {
   auto const& [vrf, prefix, rank] = place;
   try {
      auto& routes = vrfs_.of(vrf).routes;
      if (!room_.take()) throw error("the table of routes is full");
      routes.set(prefix, rank, leaf);
      room_.giveBack();
      return true;
   } catch (error const& e) {
      callbacks_.left(fmt::format("{} is not known to the fast path: {}", prefix.to_string(), e.what()));
      return false;
   }
}

void Connected::countKernel(Place const& place, bool on) {
   auto const& [vrf, prefix, rank] = place;
   if (on) {
      if (kernels_[place]++ > 0) return;
      if (!enter(place, leaf_word(LEAF_KERNEL, 0))) kernels_.erase(place);
   } else {
      auto const found = kernels_.find(place);
      if (found == kernels_.end() || --found->second > 0) return;
      kernels_.erase(found);
      vrfs_.of(vrf).routes.del(prefix, rank);
   }
   routeChanged(vrf, prefix);
}

void Connected::kernelHas(std::string const& vrf, ip_addr_mask_t const& address, bool on) {
   if (isOfLink(address.addr())) return;
   countKernel({vrf, hostPrefix(address.addr()), Rank::own}, on);
   if (address.mask_length() < bitsOf(address.af())) countKernel({vrf, networkOf(address), Rank::connected}, on);
}

void Connected::portIs(intf_id_t intf, std::string const& vrf, Addresses addresses) {
   auto& port = ports_[intf];
   if (port.vrf == vrf && port.addresses == addresses) return;
   if (port.vrf != vrf) {
      for (auto const& host : port.resolved) dropHost(port.vrf, intf, host);
   }
   for (auto const& address : addresses) {
      if (port.vrf != vrf || !port.addresses.contains(address)) kernelHas(vrf, address, true);
   }
   for (auto const& address : port.addresses) {
      if (port.vrf != vrf || !addresses.contains(address)) kernelHas(port.vrf, address, false);
   }
   port.vrf = vrf;
   port.addresses = std::move(addresses);
   for (auto const& host : port.resolved) {
      if (networkOn(port, host)) {
         addHost(intf, port, host);
      } else {
         dropHost(vrf, intf, host);
      }
   }
   callbacks_.networksChanged();
}

void Connected::hostIs(intf_id_t intf, ip_addr_t const& address, bool resolved) {
   auto& port = ports_[intf];
   if (resolved) {
      if (port.resolved.insert(address).second) addHost(intf, port, address);
   } else if (port.resolved.erase(address) > 0) {
      dropHost(port.vrf, intf, address);
   }
}

// The length of the longest of the interface's networks on which the address lies.
std::optional<unsigned> Connected::networkOn(Port const& port, ip_addr_t const& address) {
   std::optional<unsigned> longest;
   if (isOfLink(address)) return longest;
   for (auto const& network : port.addresses) {
      if (isIn(address, network)) longest = std::max(longest.value_or(0), unsigned{network.mask_length()});
   }
   return longest;
}

void Connected::addHost(intf_id_t intf, Port const& port, ip_addr_t const& address) {
   auto const network = networkOn(port, address);
   if (!network) return;
   auto& hosts = hosts_[port.vrf];
   auto found = hosts.find(address);
   if (found == hosts.end()) {
      try {
         auto const exit = exits_.take({intf, address}, {}, Interest::passing);
         found = hosts.emplace(address, Host{intf, exit, *network}).first;
      } catch (error const& e) {
         return callbacks_.left(
            fmt::format("host {} is not known to the fast path: {}", address.to_string(), e.what()));
      }
   }
   if (found->second.intf != intf) return;  // another interface says so too, and was first
   found->second.network = *network;
   refresh(port.vrf, address, found->second);
}

// The kernel would send a packet for the host by the longest prefix, too.
void Connected::refresh(std::string const& vrf, ip_addr_t const& address, Host& host) {
   auto& routes = vrfs_.of(vrf).routes;
   bool divided = false;
   for (auto length = host.network + 1; length < bitsOf(address.af()) && !divided; ++length) {
      divided = routes.at({address, static_cast<unsigned char>(length)}) != 0;
   }
   if (host.entered == !divided) return;
   if (divided) {
      routes.del(hostPrefix(address), Rank::host);
      host.entered = false;
   } else {
      host.entered = enter({vrf, hostPrefix(address), Rank::host}, leaf_word(LEAF_EXIT, host.exit));
   }
}

void Connected::routeChanged(std::string const& vrf, ip_prefix_t const& prefix) {
   auto const found = hosts_.find(vrf);
   if (found == hosts_.end()) return;
   auto& hosts = found->second;
   auto const has = [&](ip_addr_t const& address) { return ip_prefix_t(address, prefix.prefix_length()) == prefix; };
   for (auto it = hosts.lower_bound(prefix.network()); it != hosts.end() && has(it->first); ++it) {
      if (prefix.prefix_length() > it->second.network) refresh(vrf, it->first, it->second);
   }
}

void Connected::dropHost(std::string const& vrf, intf_id_t intf, ip_addr_t const& address) {
   auto& hosts = hosts_[vrf];
   auto const found = hosts.find(address);
   if (found == hosts.end() || found->second.intf != intf) return;
   if (found->second.entered) vrfs_.of(vrf).routes.del(hostPrefix(address), Rank::host);
   exits_.release(found->second.exit, Interest::passing);
   hosts.erase(found);
}

intf_id_t Connected::towards(std::string const& vrf, ip_addr_t const& address) const {
   std::pair<int, intf_id_t> best{-1, {}};
   for (auto const& [intf, port] : ports_) {
      if (port.vrf != vrf) continue;
      for (auto const& network : port.addresses) {
         if (network.mask_length() > best.first && isIn(address, network)) best = {network.mask_length(), intf};
      }
   }
   return best.second;
}

ip_addr_t Connected::addressOf(intf_id_t intf, af_t af) const {
   auto const found = ports_.find(intf);
   if (found == ports_.end()) return {};
   auto const fits = [&](ip_addr_mask_t const& address) { return address.af() == af && !isOfLink(address.addr()); };
   auto const address = std::ranges::find_if(found->second.addresses, fits);
   return address == found->second.addresses.end() ? ip_addr_t() : address->addr();
}

}  // namespace velm::machine
