#include "platform/linux/Ports.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/velm/errors.h"

// A port's row in shared memory is complete before frames lead to it, and they stop leading to it before anything else
// forgets it. An index is used again at once: a frame on its way at that moment is at worst counted for the next port.
//
// The VRF of an interface follows from its master, which may be told later than the interface, so a device of that kind
// has its members looked at anew.
namespace velm::machine {
namespace {

constexpr auto vlanKind = "vlan";
constexpr auto vrfKind = "vrf";
constexpr auto dummyKind = "dummy";

port_key keyOf(netlink::Link const& link) {
   bool const tagged = link.kind == vlanKind && link.parent != 0;
   return {.ifindex = static_cast<__u32>(tagged ? link.parent : link.ifindex),
           .vlan = static_cast<__u16>(tagged ? link.vlan : 0),
           .unused = 0};
}

// Nothing ever comes in there.
bool isInternal(netlink::Link const& link) { return link.kind == dummyKind || !link.mac; }

}  // namespace

Ports::Ports(Program& program, Hops& hops, Connected& connected, Vrfs& vrfs, PortSettings settings, Callbacks callbacks)
   : program_(program),
     hops_(hops),
     connected_(connected),
     vrfs_(vrfs),
     settings_(std::move(settings)),
     callbacks_(std::move(callbacks)),
     machine_(*this, *this, *this) {
   for (std::uint32_t index = MAX_PORTS; index-- > 1;) freeIndexes_.push_back(index);
}

Ports::~Ports() = default;

intf_id_t Ports::intfOf(int ifindex) const {
   auto const found = byIfindex_.find(ifindex);
   return found == byIfindex_.end() ? intf_id_t() : found->second;
}

netlink::Link const* Ports::link(intf_id_t intf) const {
   auto const found = ports_.find(intf);
   return found == ports_.end() ? nullptr : machine_.links().find(found->second.ifindex);
}

eth_addr_t Ports::macOf(Hops::Key const& neighbour) const {
   auto const found = ports_.find(neighbour.first);
   if (found == ports_.end()) return {};
   auto const* const known = machine_.neighbours().find({found->second.ifindex, neighbour.second});
   return known == nullptr ? eth_addr_t() : known->mac;
}

std::vector<std::pair<intf_id_t, Ports::Road>> Ports::roads() const {
   std::vector<std::pair<intf_id_t, Road>> roads;
   for (auto const& [intf, port] : ports_) {
      auto const* const known = machine_.links().find(port.ifindex);
      Road road{known == nullptr ? std::string() : known->name, {}, "no frames come in there"};
      if (auto const device = devices_.find(static_cast<int>(port.key.ifindex)); device != devices_.end()) {
         if (device->second.attachment) road.mode = device->second.attachment->mode();
         road.why = device->second.why;
      }
      roads.emplace_back(intf, std::move(road));
   }
   return roads;
}

void Ports::came(netlink::Link const& now) {
   if (now.kind == vrfKind) refreshMembersOf(now.ifindex);
   if (auto const intf = settings_.adoption.intf(now.name); intf != intf_id_t()) add(intf, now);
}

void Ports::changed(netlink::Link const& /*before*/, netlink::Link const& now) {
   if (auto const intf = intfOf(now.ifindex); intf != intf_id_t()) refresh(intf, now);
}

void Ports::gone(netlink::Link const& before) {
   if (before.kind == vrfKind) refreshMembersOf(before.ifindex);
   auto const intf = intfOf(before.ifindex);
   auto const found = ports_.find(intf);
   if (found == ports_.end()) return;
   auto const port = found->second;
   program_.portDel(port.key);
   hops_.portIs(intf, std::nullopt);
   program_.deviceDel(port.index);
   connected_.portIs(intf, port.vrf, {});
   detach(static_cast<int>(port.key.ifindex));
   freeIndexes_.push_back(port.index);
   byIfindex_.erase(before.ifindex);
   ports_.erase(found);
   callbacks_.gone(intf);
}

void Ports::add(intf_id_t intf, netlink::Link const& link) {
   if (freeIndexes_.empty()) {
      return callbacks_.warn(fmt::format("{} is one interface too many: at most {} forward", link.name, MAX_PORTS - 1));
   }
   Port port{freeIndexes_.back(), link.ifindex, keyOf(link), {}};
   freeIndexes_.pop_back();
   ports_.insert_or_assign(intf, port);
   byIfindex_[link.ifindex] = intf;
   program_.deviceIs(port.index, static_cast<int>(port.key.ifindex));  // before hops lead there
   refresh(intf, link);
   program_.portIs(port.key, port.index);
   if (!isInternal(link)) attach(static_cast<int>(port.key.ifindex), link.name);
   for (auto const& neighbour : machine_.neighbours().of(link.ifindex)) {
      neighbourIs(neighbour.ifindex, neighbour.address, neighbour.mac);
   }
}

template <class Wanted>
Connected::Addresses Ports::addressesOf(int ifindex, Wanted&& wanted) const {
   Connected::Addresses addresses;
   for (auto const& address : machine_.addresses().of(ifindex)) {
      if (wanted(address)) addresses.insert(address.address);
   }
   return addresses;
}

void Ports::refresh(intf_id_t intf, netlink::Link const& link) {
   auto& port = ports_.at(intf);
   port.vrf = vrfOf(intf, link);
   connected_.portIs(intf, port.vrf, addressesOf(link.ifindex, [](auto const&) { return true; }));
   share(intf, port, link);
   hops_.portIs(intf, PortForm{.index = port.index,
                               .mac = link.mac,
                               .mtu = static_cast<std::uint16_t>(std::min<std::uint32_t>(link.mtu, 0xffff)),
                               .vlan = port.key.vlan,
                               .up = link.operational && !isInternal(link)});
   callbacks_.is(intf, link);
   callbacks_.addresses(intf, addressesOf(link.ifindex, [](auto const& address) { return !address.automatic; }));
}

void Ports::refreshMembersOf(int master) {
   for (auto const& [intf, port] : ports_) {
      auto const* const link = machine_.links().find(port.ifindex);
      if (link != nullptr && link->master == master) refresh(intf, *link);
   }
}

// Frames find the row by its index, which they learn after this.
void Ports::policyChanged(intf_id_t intf) {
   auto const found = ports_.find(intf);
   if (found != ports_.end()) program_.arrays().ports[found->second.index].policy = callbacks_.policyOn(intf);
}

void Ports::share(intf_id_t intf, Port const& port, netlink::Link const& link) {
   auto& row = program_.arrays().ports[port.index];
   row.ifindex = static_cast<std::uint32_t>(link.ifindex);
   row.policy = callbacks_.policyOn(intf);
   std::memcpy(&row.ipv4, connected_.addressOf(intf, af_t::ipv4).addr(), sizeof row.ipv4);
   std::memcpy(row.ipv6, connected_.addressOf(intf, af_t::ipv6).addr(), sizeof row.ipv6);
   try {
      row.vrf = vrfs_.of(port.vrf).index;
      row.mac = macWordOf(link.mac);
   } catch (error const& e) {
      row.mac = 0;  // nothing is for it: all its frames are the kernel's
      callbacks_.warn(fmt::format("{} does not forward: {}", link.name, e.what()));
   }
}

std::string Ports::vrfOf(intf_id_t intf, netlink::Link const& link) const {
   auto const* const master = link.master == 0 ? nullptr : machine_.links().find(link.master);
   if (master != nullptr && master->kind == vrfKind) return master->name;
   auto const found = settings_.vrfs.find(intf);
   return found == settings_.vrfs.end() ? std::string() : found->second;
}

void Ports::addressChanged(int ifindex) {
   auto const intf = intfOf(ifindex);
   auto const* const link = machine_.links().find(ifindex);
   if (intf != intf_id_t() && link != nullptr) refresh(intf, *link);
}

void Ports::neighbourIs(int ifindex, ip_addr_t const& address, eth_addr_t const& mac) {
   auto const intf = intfOf(ifindex);
   if (intf == intf_id_t()) return;
   hops_.neighbourIs({intf, address}, mac);
   connected_.hostIs(intf, address, !!mac);
}

void Ports::gone(netlink::Neighbour const& before) {
   neighbourIs(before.ifindex, before.address, {});
   auto const* const link = machine_.links().find(before.ifindex);
   auto const intf = intfOf(before.ifindex);
   if (intf != intf_id_t() && link != nullptr && link->operational) callbacks_.forgotten({intf, before.address});
}

void Ports::attach(int device, std::string const& name) {
   auto& at = devices_[device];
   if (at.users++ > 0) return;
   try {
      at.attachment = std::make_unique<Attachment>(program_, device);
      at.why.clear();
   } catch (error const& e) {
      at.why = e.what();
      callbacks_.warn(fmt::format("{} does not forward what comes in: {}", name, e.what()));
   }
}

void Ports::detach(int device) {
   auto const found = devices_.find(device);
   if (found != devices_.end() && --found->second.users == 0) devices_.erase(found);
}

}  // namespace velm::machine
