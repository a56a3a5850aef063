#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

#include "platform/qor/Assert.h"
#include "platform/qor/Hash.h"

namespace Qor {

/// A key's own hash().
struct HashOfKey {
   template <class Key>
   static std::uint32_t hash(Key const& key) {
      return static_cast<std::uint32_t>(key.hash());
   }
};

/// A key's own hash(), mixed with a constant.
template <std::uint32_t seed>
struct SeededHashOfKey {
   template <class Key>
   static std::uint32_t hash(Key const& key) {
      Hash mixed(seed);
      mixed.hashMix(static_cast<std::uint64_t>(key.hash()));
      return mixed.result();
   }
};

/// A member of a map: a key and its value, at one address for as long as the key is a member. Says how keys are hashed;
/// keys must have `==`.
template <class Key_, class Value_, class KeyHash = HashOfKey>
class HashMap2018Node {
 public:
   using Key = Key_;
   using Value = Value_;

   template <class... Args>
   explicit HashMap2018Node(Key key, Args&&... args)
      : pair_(std::piecewise_construct, std::forward_as_tuple(std::move(key)),
              std::forward_as_tuple(std::forward<Args>(args)...)) {}

   static std::uint32_t hash(Key const& key) { return KeyHash::hash(key); }

   Key const& key() const { return pair_.first; }
   Value const& value() const { return pair_.second; }
   Value& value() { return pair_.second; }
   /// For a node that leaves its map.
   std::pair<Key, Value>&& pair() && { return std::move(pair_); }

 private:
   std::pair<Key, Value> pair_;
};

/// A node whose keys are hashed with a seed of the node's type.
template <class Key, class Value, std::uint32_t seed>
using HashMap2018NodeExternKey = HashMap2018Node<Key, Value, SeededHashOfKey<seed>>;

/// The value of a set's member.
struct NoValue {
   bool operator==(NoValue const&) const = default;
};

/// Stands for the first member in a range.
struct StartOfCollection {};

template <class Map>
class HashMap2018IteratorGeneric;
template <class Map>
class HashMap2018UnsafeIteratorConstGeneric;

/// A hash map that is walked in a fixed order, by hash and, of one hash, by age. A key that is no member has a place in
/// that order all the same: before all members of its hash. Hence iterators survive any change, and the ends of a range
/// need not be members. Every operation costs O(log n), plus the members of equal hash. Not thread-safe.
///
///    place (hash, age)   (3, 1)  (3, 7)  (9, 2)        a key of hash 9 that is no member: between (3, 7) and (9, 2)
///
/// Inside is an ordered map by place: a table of buckets would be walked in another order after it has grown.
template <class Node_>
class HashMap2018 {
 public:
   using Node = Node_;
   using Key = typename Node::Key;
   using Value = typename Node::Value;

   HashMap2018() = default;
   HashMap2018(HashMap2018 const&) = delete;
   HashMap2018& operator=(HashMap2018 const&) = delete;

   std::size_t members() const { return nodes_.size(); }
   /// Changes with every change of the membership, not with that of a value.
   std::uint64_t version() const { return version_; }

   /// The key's node, or null. It stays where it is until its key is deleted.
   Node* lookupNodeG(Key const& key) { return pointer(find(nodes_, key), nodes_); }
   Node const* lookupNodeG(Key const& key) const { return pointer(find(nodes_, key), nodes_); }

   /// Adds a member, its value built from the arguments. The key must not be one yet.
   template <class... Args>
   Node& newMemberG(Key key, Args&&... args) {
      assertThat(lookupNodeG(key) == nullptr, "inserted");
      Place const place{Node::hash(key), newMembers_++};
      ++version_;
      return nodes_.try_emplace(place, std::move(key), std::forward<Args>(args)...).first->second;
   }

   /// Removes a member, whose key and value move to `removed` if that is given. False if there is none of the key.
   bool deleteMemberG(Key const& key, std::pair<Key, Value>* removed = nullptr) {
      auto const it = find(nodes_, key);
      if (it == nodes_.end()) return false;
      if (removed != nullptr) *removed = std::move(it->second).pair();
      erase(it, std::next(it));
      return true;
   }

   /// Remove the members from `from` up to, not including, `to`, in the order of a walk; without `to`, up to the end.
   /// Nothing goes if `to` comes first.
   void memberDelRangeG(Key const& from, Key const& to) { erase(placeOf(nodes_, from), placeOf(nodes_, to)); }
   void memberDelRangeG(StartOfCollection, Key const& to) { erase(nodes_.begin(), placeOf(nodes_, to)); }
   void memberDelRangeG(Key const& from) { erase(placeOf(nodes_, from), nodes_.end()); }
   void memberDelRangeG(StartOfCollection) { emptyAllBuckets(); }

   void _memberDelAll() { emptyAllBuckets(); }
   void emptyAllBuckets() { erase(nodes_.begin(), nodes_.end()); }

 private:
   template <class>
   friend class HashMap2018IteratorGeneric;
   template <class>
   friend class HashMap2018UnsafeIteratorConstGeneric;

   struct Place {
      std::uint32_t hash;
      std::uint64_t age;  // never given twice, so that a member which comes back does not take its old place
      auto operator<=>(Place const&) const = default;
   };
   using Nodes = std::map<Place, Node>;

   template <class Some>
   static auto find(Some& nodes, Key const& key) {
      auto const hash = Node::hash(key);
      auto it = nodes.lower_bound(Place{hash, 0});
      while (it != nodes.end() && it->first.hash == hash && !(it->second.key() == key)) ++it;
      return it != nodes.end() && it->first.hash == hash ? it : nodes.end();
   }
   template <class It, class Some>
   static auto pointer(It it, Some& nodes) -> decltype(&it->second) {
      return it != nodes.end() ? &it->second : nullptr;
   }

   // The member, or where a walk goes on if it is none.
   template <class Some>
   static auto placeOf(Some& nodes, Key const& key) {
      auto const it = find(nodes, key);
      return it != nodes.end() ? it : nodes.lower_bound(Place{Node::hash(key), 0});
   }

   void erase(typename Nodes::iterator first, typename Nodes::iterator last) {
      if (first == last || first == nodes_.end()) return;
      if (last != nodes_.end() && last->first < first->first) return;
      nodes_.erase(first, last);
      ++version_;
   }

   Nodes nodes_;
   std::uint64_t newMembers_ = 0;
   std::uint64_t version_ = 0;
};

/// A set, with the operations and the walk of the map.
template <class Key, class KeyHash = HashOfKey>
using HSet = HashMap2018<HashMap2018Node<Key, NoValue, KeyHash>>;

}  // namespace Qor
