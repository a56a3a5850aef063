#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/forwarding/Exits.h"
#include "platform/linux/forwarding/Groups.h"
#include "platform/linux/forwarding/Tunnels.h"
#include "platform/linux/forwarding/Vrfs.h"
#include "platform/velm/ip_route.h"

namespace velm::machine {

/// What a row leads to, as a leaf word, and who uses it: a leaf that is taken holds a group or an exit until it is
/// released. The SDK lock guards it.
class Leaves {
 public:
   Leaves(Groups& groups, Exits& exits, Tunnels const& tunnels, Vrfs& vrfs, Surroundings surroundings)
      : groups_(groups), exits_(exits), tunnels_(tunnels), vrfs_(vrfs), surroundings_(std::move(surroundings)) {}

   /// Whose ways they are: hops are sought in the VRF, and not by the row's own prefix.
   struct Place {
      std::string vrf;
      ip_prefix_t prefix;
   };
   /// A way, and the VRF in which its hop is sought, if that is another.
   struct Way {
      EntryForm entry;
      std::string vrf;
   };
   /// Ways as they lead out, and how deep that rests on routes.
   struct Found {
      std::vector<EntryForm> entries;
      unsigned level = 0;
   };

   /// Of the group of that name, which need not exist yet. Throws velm::error if there is no room.
   std::uint32_t takeGroup(std::string const& name) { return leaf_word(LEAF_GROUP, groups_.take(name)); }
   /// Of ways, among which flows are spread by their shares; 0 if there is none. Throws velm::error if there is no
   /// room, configuration_error for labels within a tunnel that carries none.
   std::uint32_t takeWays(std::vector<EntryForm> entries);
   /// After the last word with it has been replaced.
   void release(std::uint32_t leaf);

   /// The ways of vias. Throws unsupported_error, with the route's prefix, for what is not carried out.
   static std::vector<Way> waysOf(std::span<ip_route_via_t const> vias);
   /// Where ways lead now. One that names no interface leads through the tunnel to its hop, by a network that the
   /// switch is on, or where the hop's route leads; without any of these it is left out.
   Found find(Place const& place, std::vector<Way> ways) const;

 private:
   Found behind(Place const& place, ip_addr_t const& hop) const;
   std::vector<EntryForm> entriesOf(std::uint32_t leaf) const;

   Groups& groups_;
   Exits& exits_;
   Tunnels const& tunnels_;
   Vrfs& vrfs_;
   Surroundings const surroundings_;
};

}  // namespace velm::machine
