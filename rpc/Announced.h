#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace VelmSdkRpc {

/// Serves the elements of a bulk request in order, a group at a time. Of each element of a group convert(element) makes
/// what serving it needs, its key say, as an optional; hint(span of all of these) lets the switch fetch at once what
/// the group will read; and fn(element, converted) serves each. An element that could not be converted ahead comes with
/// null, and so fails in its turn. An element that is alone in its group is served without a hint. An exception of fn
/// ends the walk and passes through.
template <class Elements, class Convert, class Hint, class Fn>
void forEachAnnounced(Elements const& elements, Convert&& convert, Hint&& hint, Fn&& fn) {
   using Converted = typename std::invoke_result_t<Convert&, decltype(elements[0])>::value_type;
   constexpr int groupSize = 16;  // what was fetched for the group is still at hand for its last element
   std::vector<Converted> group;
   group.reserve(groupSize);
   std::array<Converted const*, groupSize> own{};
   for (int first = 0; first < elements.size(); first += groupSize) {
      auto const size = std::min(groupSize, elements.size() - first);
      group.clear();
      for (int i = 0; i < size; ++i) {
         auto converted = convert(elements[first + i]);
         own[static_cast<std::size_t>(i)] = converted ? &group.emplace_back(*std::move(converted)) : nullptr;
      }
      if (size > 1) hint(std::span<Converted const>(group));
      for (int i = 0; i < size; ++i) fn(elements[first + i], own[static_cast<std::size_t>(i)]);
   }
}

}  // namespace VelmSdkRpc
