#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/Program.h"
#include "platform/linux/forwarding/Connected.h"
#include "platform/linux/forwarding/Hops.h"
#include "platform/linux/netlink/Adoption.h"
#include "platform/linux/netlink/Machine.h"

namespace velm::machine {

/// What the configuration says of interfaces beside what the machine does.
struct PortSettings {
   netlink::Adoption adoption;
   std::map<intf_id_t, std::string> vrfs;  // for those that no device of kind "vrf" places
};

/// The machine's devices as the switch's interfaces: follows links, addresses and neighbours, and has the program at
/// work where frames come in. All else of the dataplane learns from here what the machine is like.
///
///   device comes    known, and the program attached to where its frames arrive
///   link up, down   hops by it become usable or not
///   device goes     all that was known of it goes; under the same name it may come back with another index
///
/// The SDK lock guards it; reports and callbacks come under it too.
class Ports : netlink::Observer<netlink::Link>,
              netlink::Observer<netlink::Address>,
              netlink::Observer<netlink::Neighbour> {
 public:
   struct Callbacks {
      /// Whose redirects hold for what comes in by the interface; 0 for nobody's.
      std::function<std::uint32_t(intf_id_t)> policyOn;
      /// The interface appeared or is so now.
      std::function<void(intf_id_t, netlink::Link const&)> is;
      std::function<void(intf_id_t)> gone;
      std::function<void(intf_id_t, Connected::Addresses const&)> addresses;
      /// The kernel has deleted a neighbour of an interface that is up.
      std::function<void(Hops::Key const&)> forgotten;
      /// Something that whoever runs the switch must know.
      std::function<void(std::string const&)> warn;
   };
   /// How frames of an interface reach the program.
   struct Road {
      std::string device;
      std::optional<Attachment::Mode> mode;  // nothing: not at all, and why not
      std::string why;
   };

   /// Tells nothing before follow().
   Ports(Program& program, Hops& hops, Connected& connected, Vrfs& vrfs, PortSettings settings, Callbacks callbacks);
   ~Ports();

   /// Reads what the machine has to tell: at first all that there is, then what has changed. Throws velm::error if the
   /// kernel cannot be asked; then call it again.
   void follow() { machine_.readable(); }
   netlink::Machine& machine() { return machine_; }

   /// Another policy holds on the interface, as policyOn says.
   void policyChanged(intf_id_t intf);
   /// The interface's link; null if there is none on the machine.
   netlink::Link const* link(intf_id_t intf) const;
   eth_addr_t macOf(Hops::Key const& neighbour) const;
   std::vector<std::pair<intf_id_t, Road>> roads() const;

 private:
   struct Port {
      std::uint32_t index;
      int ifindex;
      port_key key;  // by which frames are known to be its own
      std::string vrf;
   };
   struct Device {
      std::unique_ptr<Attachment> attachment;
      std::uint32_t users = 0;
      std::string why;  // it is not attached
   };

   void came(netlink::Link const& now) override;
   void changed(netlink::Link const& before, netlink::Link const& now) override;
   void gone(netlink::Link const& before) override;
   void came(netlink::Address const& now) override { addressChanged(now.ifindex); }
   void changed(netlink::Address const&, netlink::Address const& now) override { addressChanged(now.ifindex); }
   void gone(netlink::Address const& before) override { addressChanged(before.ifindex); }
   void came(netlink::Neighbour const& now) override { neighbourIs(now.ifindex, now.address, now.mac); }
   void changed(netlink::Neighbour const&, netlink::Neighbour const& now) override {
      neighbourIs(now.ifindex, now.address, now.mac);
   }
   void gone(netlink::Neighbour const& before) override;

   void addressChanged(int ifindex);
   void neighbourIs(int ifindex, ip_addr_t const& address, eth_addr_t const& mac);
   void add(intf_id_t intf, netlink::Link const& link);
   void refresh(intf_id_t intf, netlink::Link const& link);
   void refreshMembersOf(int master);
   void share(intf_id_t intf, Port const& port, netlink::Link const& link);
   std::string vrfOf(intf_id_t intf, netlink::Link const& link) const;
   template <class Wanted>
   Connected::Addresses addressesOf(int ifindex, Wanted&& wanted) const;
   intf_id_t intfOf(int ifindex) const;
   void attach(int device, std::string const& name);
   void detach(int device);

   Program& program_;
   Hops& hops_;
   Connected& connected_;
   Vrfs& vrfs_;
   PortSettings const settings_;
   Callbacks const callbacks_;
   absl::btree_map<intf_id_t, Port> ports_;
   absl::flat_hash_map<int, intf_id_t> byIfindex_;
   absl::btree_map<int, Device> devices_;  // where frames arrive
   std::vector<std::uint32_t> freeIndexes_;
   netlink::Machine machine_;
};

}  // namespace velm::machine
