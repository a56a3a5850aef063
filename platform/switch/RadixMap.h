#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <span>
#include <tuple>
#include <utility>

#include "platform/switch/RadixNode.h"
#include "platform/switch/RadixPrefetch.h"
#include "platform/switch/RadixWords.h"

namespace velm::embedded {

/// An ordered map for a million keys: the part of std::map that a table needs. Entries never move; an iterator is good
/// until the next change.
///
/// A radix tree over the keys' bits, in digits of six. A node stands only at a digit in which keys below it differ, and
/// says where that is; the digits between two nodes are skipped, not compared. So a lookup reads one digit at each node
/// and compares keys once, at the entry that it ends at, and its cost hardly grows with the size. The price is paid by
/// insertion and by searches for a neighbour: where a key is missing only the entry tells at which digit it parts from
/// those that are there (see partingOf), and the way is gone a second time, down to that digit.
///
///    keys, as digits            the tree
///    A   1 7 3 ...              node at digit 0 --1--> node at digit 2 --3--> entry A
///    B   1 7 9 ...                 |                       +------------9--> entry B
///    C   2 5 5 ...                 +---2--> entry C
///
/// A and B are alike in digit 1, so that no node stands there: a lookup of 1 8 3 ends at A, which is another key.
///
/// Not thread-safe. An insertion that throws, for want of memory, leaves the map as it was.
template <RadixKey Key, class T>
class RadixMap {
 public:
   using key_type = Key;
   using mapped_type = T;
   using value_type = std::pair<Key const, T>;

   class iterator {
    public:
      using iterator_category = std::forward_iterator_tag;
      using value_type = RadixMap::value_type;
      using difference_type = std::ptrdiff_t;
      using pointer = value_type*;
      using reference = value_type&;

      iterator() = default;
      reference operator*() const { return *entry_; }
      pointer operator->() const { return entry_; }
      bool operator==(iterator const& other) const { return entry_ == other.entry_; }
      iterator& operator++() {
         auto const next = node_ == nullptr ? RadixNode::noDigit : node_->from(digit_ + 1);
         *this = next == RadixNode::noDigit ? map_->after(entry_->first, noPlace, false) : map_->firstOf(node_, next);
         return *this;
      }
      iterator operator++(int) { return std::exchange(*this, std::next(*this)); }

    private:
      friend class RadixMap;
      iterator(RadixMap* map, RadixNode* node, unsigned digit, void* entry)
         : map_(map), node_(node), digit_(digit), entry_(static_cast<value_type*>(entry)) {}

      RadixMap* map_ = nullptr;
      RadixNode* node_ = nullptr;  // where the entry hangs; null if it is the only one
      unsigned digit_ = 0;         // at the node
      value_type* entry_ = nullptr;
   };

   RadixMap() = default;
   RadixMap(RadixMap const&) = delete;
   RadixMap& operator=(RadixMap const&) = delete;
   ~RadixMap() { clear(); }

   std::size_t size() const { return size_; }
   bool empty() const { return size_ == 0; }
   void clear() {
      if (root_) destroy(root_);
      root_ = {};
      size_ = 0;
   }

   iterator begin() { return root_ ? firstOf(nullptr, 0) : end(); }
   iterator end() { return {}; }

   iterator find(Key const& key) {
      if (!root_) return end();
      Digits digits(key);
      RadixNode* node = nullptr;
      unsigned digit = 0;
      RadixChild here = root_;
      while (!here.isEntry()) {
         node = here.node();
         digit = digits.at(node->place());
         if (!node->has(digit)) return end();
         here = node->child(digit);
      }
      return entryOf(here)->first == key ? iterator(this, node, digit, here.entry()) : end();
   }

   /// Brings what a lookup of the keys reads into the processor's caches. Changes nothing.
   void prefetch(std::span<Key const> keys) const {
      if (root_) prefetchEntries<value_type>(root_, keys);
   }

   /// The first that is not before the key.
   iterator lower_bound(Key const& key) {
      if (!root_) return end();
      auto const parting = partingOf(key);
      return parting.place == noPlace ? find(key) : after(key, parting.place, parting.before);
   }
   /// The first after the key.
   iterator upper_bound(Key const& key) {
      auto const it = lower_bound(key);
      return it != end() && it->first == key ? std::next(it) : it;
   }

   template <class... Args>
   std::pair<iterator, bool> try_emplace(Key const& key, Args&&... args) {
      auto const parting = root_ ? partingOf(key) : Parting{};
      if (root_ && parting.place == noPlace) return {find(key), false};
      auto entry = std::make_unique<value_type>(std::piecewise_construct, std::forward_as_tuple(key),
                                                std::forward_as_tuple(std::forward<Args>(args)...));
      hang(RadixChild(static_cast<void*>(entry.get())), key, parting);
      ++size_;
      return {iterator(this, nullptr, 0, entry.release()), true};
   }

   /// Whether there was such a key.
   bool erase(Key const& key) {
      if (!root_) return false;
      Digits digits(key);
      RadixChild* link = &root_;
      RadixChild* above = nullptr;  // what holds the node on which the link is
      unsigned digit = 0;           // the key's there
      while (!link->isEntry()) {
         auto* const node = link->node();
         digit = digits.at(node->place());
         if (!node->has(digit)) return false;
         above = std::exchange(link, &node->child(digit));
      }
      if (entryOf(*link)->first != key) return false;
      delete entryOf(*link);
      if (above == nullptr) {
         root_ = {};
      } else {
         *above = RadixNode::erase(above->node(), digit);
      }
      --size_;
      return true;
   }

 private:
   static constexpr RadixPlace noPlace = std::numeric_limits<RadixPlace>::max();

   /// Reads the digits of one key.
   class Digits {
    public:
      explicit Digits(Key const& key) : key_(key), word_(RadixWords<Key>::word(key, 0)) {}
      unsigned at(RadixPlace place) {
         if (wordOf(place) != index_) word_ = RadixWords<Key>::word(key_, index_ = wordOf(place));
         return digitAt(place, word_);
      }

    private:
      Key const& key_;
      std::size_t index_ = 0;
      std::uint64_t word_;
   };

   /// The place where a key leaves the way of the keys that are in the map.
   struct Parting {
      RadixPlace place = noPlace;  // noPlace if it does not: it is in the map
      bool before = false;         // whether it comes before those from which it parts
      std::uint64_t other = 0;     // their word there
   };

   static value_type* entryOf(RadixChild child) { return static_cast<value_type*>(child.entry()); }
   static RadixChild& childOf(RadixChild link, Digits& digits) {
      auto* const node = link.node();
      return node->child(digits.at(node->place()));
   }

   // Any entry below a node at which the key's digit is missing parts from the key where all others below it do.
   Parting partingOf(Key const& key) const {
      Digits digits(key);
      auto const first = RadixWords<Key>::word(key, 0);
      RadixChild here = root_;
      while (!here.isEntry()) {
         auto* const node = here.node();
         auto digit = digits.at(node->place());
         if (!node->has(digit)) {
            if (node->partsHere(first)) return {node->place(), false, 0};
            digit = node->from(0);
         }
         here = node->child(digit);
      }
      auto const& other = entryOf(here)->first;
      if (other == key) return {};
      for (std::size_t i = 0;; ++i) {
         auto const word = RadixWords<Key>::word(key, i);
         auto const otherWord = RadixWords<Key>::word(other, i);
         if (word != otherWord) return {firstDifference(i, word, otherWord), word < otherWord, otherWord};
      }
   }

   // The first entry after a key that parts there, before the others or not; with noPlace, after one that is in the
   // map.
   iterator after(Key const& key, RadixPlace place, bool before) {
      Digits digits(key);
      RadixNode* up = nullptr;  // the last node on the way with a child after the key's
      unsigned upDigit = 0;
      RadixNode* node = nullptr;
      unsigned digit = 0;
      RadixChild here = root_;
      while (!here.isEntry() && here.node()->place() <= place) {
         node = here.node();
         digit = digits.at(node->place());
         if (auto const next = node->from(digit + 1); next != RadixNode::noDigit) {
            up = node;
            upDigit = next;
         }
         if (!node->has(digit)) {
            before = false;
            break;
         }
         here = node->child(digit);
      }
      if (before) return firstOf(node, digit);
      return up == nullptr ? end() : firstOf(up, upDigit);
   }

   // The first entry of a node's child, or of all if the node is null.
   iterator firstOf(RadixNode* node, unsigned digit) {
      RadixChild here = node == nullptr ? root_ : node->child(digit);
      while (!here.isEntry()) {
         node = here.node();
         digit = node->from(0);
         here = node->child(digit);
      }
      return {this, node, digit, here.entry()};
   }

   // Throws std::bad_alloc with the tree as it was: both insertions into a new fork find room in it, so that only its
   // making can fail.
   void hang(RadixChild entry, Key const& key, Parting const& parting) {
      Digits digits(key);
      RadixChild* link = &root_;
      while (*link && !link->isEntry() && link->node()->place() < parting.place) link = &childOf(*link, digits);
      if (!*link) {
         *link = entry;
         return;
      }
      auto const digit = digits.at(parting.place);
      if (!link->isEntry() && link->node()->place() == parting.place) {
         *link = RadixChild(RadixNode::insert(link->node(), digit, entry));
         return;
      }
      auto* const fork = RadixNode::make(parting.place, RadixWords<Key>::word(key, 0));
      RadixNode::insert(fork, digitAt(parting.place, parting.other), *link);
      RadixNode::insert(fork, digit, entry);
      *link = RadixChild(fork);
   }

   void destroy(RadixChild child) {
      if (child.isEntry()) {
         delete entryOf(child);
         return;
      }
      auto* const node = child.node();
      for (auto digit = node->from(0); digit != RadixNode::noDigit; digit = node->from(digit + 1)) {
         destroy(node->child(digit));
      }
      RadixNode::free(node);
   }

   RadixChild root_;
   std::size_t size_ = 0;
};

}  // namespace velm::embedded
