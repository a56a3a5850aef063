#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "platform/linux/forwarding/Exits.h"
#include "platform/linux/forwarding/Groups.h"
#include "platform/velm/ip_route.h"

namespace velm::machine {

/// What a route leads to, as a leaf word, and who uses it: a leaf that is taken holds a group or an exit until it is
/// released. The SDK lock guards it.
class Leaves {
 public:
   Leaves(Groups& groups, Exits& exits, Surroundings surroundings)
      : groups_(groups), exits_(exits), surroundings_(std::move(surroundings)) {}

   /// Of the group of that name, which need not exist yet. Throws velm::error if there is no room.
   std::uint32_t takeGroup(std::string const& name) { return leaf_word(LEAF_GROUP, groups_.take(name)); }
   /// Of ways out of the VRF, among which flows are spread evenly; 0 if none of them leads anywhere now, which
   /// may change with the networks that the switch is on where a via names no interface. Throws unsupported_error, with
   /// the route's prefix, for what is not carried out, velm::error if there is no room.
   std::uint32_t takeVias(std::string const& vrf, std::span<ip_route_via_t const> vias);
   /// The same of ways that have been made. Those of no interface are sought in the VRF.
   std::uint32_t takeWays(std::string const& vrf, std::vector<Way> ways);
   /// After the last word with it has been replaced.
   void release(std::uint32_t leaf);

 private:
   std::vector<Member> takeMembers(std::string const& vrf, std::vector<Way> ways);

   Groups& groups_;
   Exits& exits_;
   Surroundings const surroundings_;
};

}  // namespace velm::machine
