#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/forwarding/GroupForm.h"

namespace velm::machine {

/// A way out of a group, perhaps through others.
struct Way {
   Hops::Key neighbour;
   ExitForm form;
   std::uint32_t weight = 0;
   unsigned short entry = 0;  // of the group, through which it leads
};

/// More than this is refused, so that no few groups that lead through each other take all memory and time.
constexpr std::size_t mostWays = 65'536;  // as many as a group may have entries
constexpr std::size_t deepestGroup = 16;  // groups one behind the other

/// The entries of the group of that name; null if there is none.
using EntriesOfGroup = std::function<std::vector<EntryForm> const*(std::string const&)>;

/// All ways out of the group of that name and these entries. An entry that leads through another group divides its
/// share among that one's entries. Throws configuration_error for a group that leads
/// through itself and for labels within a tunnel that carries none, unsupported_error for too many ways.
std::vector<Way> waysOf(std::string const& name, std::vector<EntryForm> const& entries,
                        EntriesOfGroup const& entriesOfGroup);

}  // namespace velm::machine
