#pragma once

#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "platform/qor/HashMap2018.h"

namespace Qor {

/// A walk that any change of the map survives: the member under it, or others, may come and go. A member that stood
/// throughout is met once; one that came meanwhile may be. The map may be const and must outlive the iterator.
template <class Map>
class HashMap2018IteratorGeneric {
 public:
   using Key = typename Map::Key;
   using Node = std::conditional_t<std::is_const_v<Map>, typename Map::Node const, typename Map::Node>;

   explicit HashMap2018IteratorGeneric(Map& map) : map_(&map) { standAt(map_->nodes_.begin()); }

   /// Whether the walk has not come to its end.
   explicit operator bool() const { return current_.has_value(); }

   /// The member under the iterator, which must not have been deleted.
   Node& currNodeNonStale() const {
      auto const it = map_->nodes_.find(current_->place);
      assertThat(it != map_->nodes_.end(), "the member under the iterator is gone");
      return it->second;
   }
   /// The key under the iterator, also if the member has been deleted.
   Key const& currNodeMaybeStale() const { return current_->key; }

   void advance() { standAt(map_->nodes_.upper_bound(current_->place)); }

 private:
   struct Current {
      typename Map::Place place;
      Key key;
   };

   template <class It>
   void standAt(It it) {
      if (it == map_->nodes_.end()) {
         current_.reset();
      } else {
         current_.emplace(it->first, it->second.key());
      }
   }

   Map* map_;
   std::optional<Current> current_;
};

/// A plain walk, during which the membership must not change: the process ends if it did. The map may be const.
template <class Map>
class HashMap2018UnsafeIteratorConstGeneric {
 public:
   using Key = typename Map::Key;
   using Node = std::conditional_t<std::is_const_v<Map>, typename Map::Node const, typename Map::Node>;

   explicit HashMap2018UnsafeIteratorConstGeneric(Map& map)
      : hashMap_(&map), version_(map.version()), it_(map.nodes_.begin()) {}
   /// From the key on, or from its place if it is no member.
   HashMap2018UnsafeIteratorConstGeneric(Map& map, Key const& from)
      : hashMap_(&map), version_(map.version()), it_(Map::placeOf(map.nodes_, from)) {}

   /// Whether the walk has not come to its end.
   explicit operator bool() const {
      check();
      return it_ != hashMap_->nodes_.end();
   }
   Node& currNode() const {
      check();
      return it_->second;
   }
   void advance() {
      check();
      ++it_;
   }

 private:
   void check() const { assertThat(version_ == hashMap_->version(), "version_ == hashMap_->version()"); }

   Map* hashMap_;
   std::uint64_t version_;
   decltype(std::declval<Map&>().nodes_.begin()) it_;
};

}  // namespace Qor
