#include "platform/linux/forwarding/Vrfs.h"

#include <fmt/format.h>

#include "platform/velm/errors.h"

namespace velm::machine {

Vrfs::Vrfs(trie::Memory& memory, std::span<vrf> shared) : memory_(memory), shared_(shared) { of({}); }

Vrfs::Vrf& Vrfs::of(std::string const& name) {
   if (auto* const known = find(name)) return *known;
   auto const index = static_cast<std::uint32_t>(vrfs_.size());
   if (index == shared_.size()) {
      throw error(fmt::format("the dataplane has no room for VRF {} beside {} others", name, index));
   }
   auto const form = name.empty() ? trie::Trie::Form::large : trie::Trie::Form::small;
   auto vrf = std::unique_ptr<Vrf>(new Vrf{index, {memory_, shared_[index], form}});
   return *vrfs_.emplace(name, std::move(vrf)).first->second;
}

Vrfs::Vrf* Vrfs::find(std::string const& name) {
   auto const found = vrfs_.find(name);
   return found == vrfs_.end() ? nullptr : found->second.get();
}

}  // namespace velm::machine
