#pragma once

#include <vector>

namespace velm::embedded {

/// A via as a route's row keeps it, with a resync mark of its own: a route that stays can still lose vias.
template <class Via>
struct StoredVia {
   Via via;
   bool marked = false;
};

template <class Via>
using StoredVias = std::vector<StoredVia<Via>>;

template <class Via>
void markVias(StoredVias<Via>& vias, bool marked) {
   for (auto& stored : vias) stored.marked = marked;
}

/// Removes the vias that are still marked; whether there were any.
template <class Via>
bool purgeVias(StoredVias<Via>& vias) {
   return std::erase_if(vias, [](auto const& stored) { return stored.marked; }) > 0;
}

template <class Via>
std::vector<Via> plainVias(StoredVias<Via> const& vias) {
   std::vector<Via> plain;
   plain.reserve(vias.size());
   for (auto const& stored : vias) plain.push_back(stored.via);
   return plain;
}

}  // namespace velm::embedded
