#pragma once

#include <cstddef>
#include <string>

namespace velm::trie {
class Memory;
}

namespace velm::machine {

class Groups;
class Labels;
class Ports;
class Program;
class Vrfs;

/// What there is to see of the dataplane.
struct Sights {
   Program const& program;
   trie::Memory const& memory;
   Vrfs const& vrfs;
   Labels const& labels;
   Groups const& groups;
   Ports const* ports;  // null before they are followed
   // Rows of the folder that could not be carried out.
   std::size_t refusedRoutes;
   std::size_t refusedLabels;
   std::size_t refusedGroups;
};

/// As a JSON object: how each interface's frames reach the program, how full the tables are, and what was dropped, by
/// reason.
std::string show(Sights const& sights);

}  // namespace velm::machine
