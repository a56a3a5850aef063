#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/forwarding/Ids.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"

namespace velm::machine {

/// A MAC as shared memory has it.
mac_word macWordOf(eth_addr_t const& mac);

/// What a hop needs to know of the port that it leaves by.
struct PortForm {
   std::uint32_t index = 0;  // of ports and tx_ports
   eth_addr_t mac;
   std::uint16_t mtu = 0;
   std::uint16_t vlan = 0;  // 0 for none
   bool up = false;

   bool operator==(PortForm const&) const = default;
};

/// The neighbours that packets leave to. A hop lives while somebody uses it; it is usable while its port is up and its
/// MAC known, and then its row in shared memory names the MAC. The SDK lock guards it.
class Hops {
 public:
   using Id = std::uint32_t;
   using Key = std::pair<intf_id_t, ip_addr_t>;

   struct Callbacks {
      /// The kernel is to resolve the neighbour and keep it so. Also anew after its port came up.
      std::function<void(Key const&)> wanted;
      std::function<void(Key const&)> unwanted;
      /// What the kernel knows of the neighbour already.
      std::function<eth_addr_t(Key const&)> macOf;
      /// Not called within take().
      std::function<void(Id)> usableChanged;
   };

   Hops(std::span<hop> shared, GracePeriods& periods, Callbacks callbacks)
      : shared_(shared), ids_(static_cast<std::uint32_t>(shared.size()), periods), callbacks_(std::move(callbacks)) {}
   Hops(Hops const&) = delete;
   Hops& operator=(Hops const&) = delete;

   /// The hop to the neighbour, with a user more. Throws velm::error if the table is full.
   Id take(Key const& key);
   /// A user less; the last one's end is the hop's.
   void release(Id id);
   /// A user more, or less, that wants the neighbour kept resolved; others take it as the kernel happens to know it.
   void want(Id id);
   void unwant(Id id);

   bool wanted(Key const& key) const {
      auto const found = hops_.find(key);
      return found != hops_.end() && found->second.wanting > 0;
   }
   bool usable(Id id) const { return shared_[id].to != 0; }
   Key const& key(Id id) const { return keys_[id]; }

   /// What the machine tells. A port that has gone is told as nothing.
   void portIs(intf_id_t intf, std::optional<PortForm> const& port);
   /// No MAC for a neighbour that is not resolved, or gone.
   void neighbourIs(Key const& key, eth_addr_t const& mac);

 private:
   struct Hop {
      Id id = 0;
      std::uint32_t users = 0;
      std::uint32_t wanting = 0;  // of these
      eth_addr_t mac;
   };
   PortForm const* port(intf_id_t intf) const;
   /// Brings the shared row up to date. Whether the hop has become usable or unusable by that.
   bool refresh(Key const& key, Hop const& hop);
   void refreshAndTell(Key const& key, Hop const& hop) {
      if (refresh(key, hop)) callbacks_.usableChanged(hop.id);
   }

   std::span<hop> const shared_;
   Ids ids_;
   Callbacks const callbacks_;
   absl::btree_map<Key, Hop> hops_;  // a port's hops side by side
   std::vector<Key> keys_;           // by id
   absl::btree_map<intf_id_t, PortForm> ports_;
};

}  // namespace velm::machine
