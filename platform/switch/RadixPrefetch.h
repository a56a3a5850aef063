#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>

#include "platform/switch/RadixNode.h"
#include "platform/switch/RadixWords.h"

namespace velm::embedded {

/// One key's way down to its entry, or to one that stands where its own would hang. Each step asks for the memory that
/// the next one reads.
template <RadixKey Key, std::size_t entrySize>
class RadixDescent {
 public:
   RadixDescent() = default;
   RadixDescent(Key const& key, RadixChild root) : key_(&key), here_(root) {}

   /// False when nothing is left to ask for.
   bool step() {
      if (link_ != nullptr) {
         here_ = *std::exchange(link_, nullptr);
         auto const* const at = static_cast<char const*>(here_.address());
         __builtin_prefetch(at);
         if (here_.isEntry()) __builtin_prefetch(at + entrySize - 1);
         return true;
      }
      if (here_.isEntry()) return false;
      auto* const node = here_.node();
      auto const digit = digitAt(node->place(), RadixWords<Key>::word(*key_, wordOf(node->place())));
      link_ = &node->child(node->has(digit) ? digit : node->from(0));
      __builtin_prefetch(link_);
      return true;
   }

 private:
   Key const* key_ = nullptr;
   RadixChild here_;
   RadixChild* link_ = nullptr;  // asked for, to be followed next
};

/// Asks for all that lookups of the keys read below the root, which must not be null. A lookup in a large tree waits
/// for memory at each of its steps; here the keys take theirs in turns, so that they wait together.
template <class Entry, RadixKey Key>
void prefetchEntries(RadixChild root, std::span<Key const> keys) {
   std::array<RadixDescent<Key, sizeof(Entry)>, 16> lanes;  // about as many fetches as a processor has under way
   while (!keys.empty()) {
      auto const group = keys.first(std::min(keys.size(), lanes.size()));
      auto const descents = std::span(lanes).first(group.size());
      for (std::size_t i = 0; i < group.size(); ++i) descents[i] = {group[i], root};
      auto stepAll = [&] { return std::ranges::count_if(descents, [](auto& descent) { return descent.step(); }) > 0; };
      while (stepAll()) {
      }
      keys = keys.subspan(group.size());
   }
}

}  // namespace velm::embedded
