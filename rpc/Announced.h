#pragma once

#include <algorithm>
#include <ranges>

namespace VelmSdkRpc {

/// Calls fn(element) for the elements of a bulk request in order, and announce(group) before each group of some of
/// them, which lets the switch fetch what the group needs at once. A group is small enough to be still at hand when its
/// last element is served; one element alone is not announced.
template <class Elements, class Announce, class Fn>
void forEachAnnounced(Elements const& elements, Announce&& announce, Fn&& fn) {
   constexpr int groupSize = 16;
   for (int first = 0; first < elements.size(); first += groupSize) {
      auto const size = std::min(groupSize, elements.size() - first);
      auto const group = std::ranges::subrange(elements.begin() + first, elements.begin() + first + size);
      if (size > 1) announce(group);
      for (auto const& element : group) fn(element);
   }
}

}  // namespace VelmSdkRpc
