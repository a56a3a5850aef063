#include "platform/linux/forwarding/Hops.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <atomic>

#include "platform/velm/errors.h"

namespace velm::machine {

mac_word macWordOf(eth_addr_t const& mac) {
   mac_word word = 0;
   mac.bytes(&word);
   return word;
}

Hops::Id Hops::take(Key const& key) {
   if (auto const found = hops_.find(key); found != hops_.end()) {
      ++found->second.users;
      return found->second.id;
   }
   auto const id = ids_.take();
   if (!id) throw error(fmt::format("the dataplane has no room for more than {} neighbours", ids_.size()));
   if (keys_.size() <= *id) keys_.resize(*id + 1);
   keys_[*id] = key;
   auto const& hop = hops_.try_emplace(key, Hop{*id, 1, 0, callbacks_.macOf(key)}).first->second;
   refresh(key, hop);
   return *id;
}

void Hops::want(Id id) {
   if (hops_.at(keys_[id]).wanting++ == 0) callbacks_.wanted(keys_[id]);
}

void Hops::unwant(Id id) {
   if (--hops_.at(keys_[id]).wanting == 0) callbacks_.unwanted(keys_[id]);
}

void Hops::release(Id id) {
   auto const place = hops_.find(keys_[id]);
   if (--place->second.users > 0) return;
   hops_.erase(place);  // its row stays as it is: packets on their way may still leave by it
   ids_.retire(id);
}

PortForm const* Hops::port(intf_id_t intf) const {
   auto const found = ports_.find(intf);
   return found == ports_.end() ? nullptr : &found->second;
}

void Hops::portIs(intf_id_t intf, std::optional<PortForm> const& port) {
   auto const* const before = this->port(intf);
   bool const cameUp = port && port->up && (before == nullptr || !before->up);
   if (port) {
      ports_[intf] = *port;
   } else {
      ports_.erase(intf);
   }
   for (auto place = hops_.lower_bound({intf, {}}); place != hops_.end() && place->first.first == intf; ++place) {
      refreshAndTell(place->first, place->second);
      if (cameUp && place->second.wanting > 0) callbacks_.wanted(place->first);
   }
}

void Hops::neighbourIs(Key const& key, eth_addr_t const& mac) {
   auto const place = hops_.find(key);
   if (place == hops_.end() || place->second.mac == mac) return;
   place->second.mac = mac;
   refreshAndTell(key, place->second);
}

bool Hops::refresh(Key const& key, Hop const& hop) {
   auto const* const port = this->port(key.first);
   auto& row = shared_[hop.id];
   auto const before = row.to;
   auto const now = port != nullptr && port->up ? macWordOf(hop.mac) : 0;
   if (now != 0) {
      // While the port is up these change one at a time, each by a single store. A port with another index has been
      // down, for longer than a packet takes.
      row.from = macWordOf(port->mac);
      row.port = port->index;
      row.mtu = port->mtu;
      row.vlan = htons(port->vlan);
   }
   std::atomic_ref(row.to).store(now, std::memory_order_release);
   return (before != 0) != (now != 0);
}

}  // namespace velm::machine
