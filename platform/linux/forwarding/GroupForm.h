#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/forwarding/Exits.h"
#include "platform/velm/nexthop_group.h"

namespace velm::machine {

/// An entry of a group as the dataplane has it: a way out, or the way through another group with labels within that
/// one's.
struct EntryForm {
   std::string child;  // empty for a way out
   Hops::Key neighbour;
   ExitForm form;             // form.hop says nothing; of an entry with a child only its labels and what it takes count
   unsigned short index = 0;  // in the group, for its counter
   std::uint32_t share = 1;   // of the group's traffic, beside those of other entries

   bool operator==(EntryForm const&) const = default;
   template <class H>
   friend H AbslHashValue(H hash, EntryForm const& entry) {
      return H::combine(std::move(hash), entry.child, entry.neighbour, entry.form, entry.index, entry.share);
   }
};

/// What of the machine the reading of a group asks for.
struct Surroundings {
   /// The interface of the VRF on whose networks the address lies; none if there is none.
   std::function<intf_id_t(std::string const& vrf, ip_addr_t const&)> intfTowards;
   /// An address of the interface, of the family; null if it has none.
   std::function<ip_addr_t(intf_id_t, af_t)> addressOf;
};

/// The entries of a group; addresses alone are those of the default VRF. Without those that lead nowhere now: by an
/// address alone that lies on no network of the switch. Throws unsupported_error for what the dataplane cannot do,
/// configuration_error for what contradicts itself, each with the group's name and the entry.
std::vector<EntryForm> entriesOf(nexthop_group_t const& group, Surroundings const& surroundings);

}  // namespace velm::machine
