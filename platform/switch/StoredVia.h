#pragma once

#include <algorithm>
#include <tuple>
#include <vector>

#include "platform/velm/attribute.h"

namespace velm::embedded {

/// A via as a route's row keeps it, with a resync mark of its own: a route that stays can still lose vias.
template <class Via>
struct StoredVia {
   Via via;
   bool marked = false;

   static constexpr auto attributes() { return std::tuple{attribute{"via", &StoredVia::via}}; }
};

template <class Via>
using StoredVias = std::vector<StoredVia<Via>>;

template <class Via>
void markVias(StoredVias<Via>& vias, bool marked) {
   for (auto& stored : vias) stored.marked = marked;
}

template <class Via>
bool anyMarked(StoredVias<Via> const& vias) {
   return std::ranges::any_of(vias, &StoredVia<Via>::marked);
}

template <class Via>
void dropMarked(StoredVias<Via>& vias) {
   std::erase_if(vias, [](auto const& stored) { return stored.marked; });
}

template <class Via>
std::vector<Via> plainVias(StoredVias<Via> const& vias) {
   std::vector<Via> plain;
   plain.reserve(vias.size());
   for (auto const& stored : vias) plain.push_back(stored.via);
   return plain;
}

}  // namespace velm::embedded
