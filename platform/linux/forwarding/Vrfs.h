#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/forwarding/VrfRoutes.h"
#include "platform/linux/trie/Memory.h"

namespace velm::machine {

/// What the dataplane calls a VRF: the default one has the empty name, which where a name is demanded is "default".
inline std::string vrfNamed(std::string const& name) { return name == "default" ? std::string() : name; }

/// The VRFs of shared memory by their names, of which the empty one is the default's. One that was named stays, with
/// its index. The SDK lock guards it.
class Vrfs {
 public:
   struct Vrf {
      std::uint32_t index;
      VrfRoutes routes;
   };
   /// The default VRF's tries begin with a table each, of those set aside in the memory.
   static constexpr unsigned tables = 2;

   Vrfs(trie::Memory& memory, std::span<vrf> shared);

   /// Throws velm::error if there are too many.
   Vrf& of(std::string const& name);
   /// Null for one that was never named.
   Vrf* find(std::string const& name);
   std::size_t size() const { return vrfs_.size(); }

 private:
   trie::Memory& memory_;
   std::span<vrf> const shared_;
   std::map<std::string, std::unique_ptr<Vrf>, std::less<>> vrfs_;
};

}  // namespace velm::machine
