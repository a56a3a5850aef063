#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <memory>
#include <span>

#include "platform/switch/RadixKeys.h"
#include "platform/switch/RadixMap.h"

namespace velm::embedded {

/// A table's rows in the order of their keys. A row never moves. Kept in a B-tree of boxes, since what a B-tree holds
/// itself moves, or, where the keys can be read as bits, in a RadixMap, which is made for a million of them.
///
/// The row that was looked up last is remembered: a route is set and then gets its vias, so the commonest lookup is
/// that of the same key again. Hence not thread-safe, not even for two lookups.
template <class Key, class Row>
class Rows {
   template <class K>
   struct ContainerOf {
      using type = absl::btree_map<K, std::unique_ptr<Row>>;
   };
   template <RadixKey K>
   struct ContainerOf<K> {
      using type = RadixMap<K, Row>;
   };
   using Container = typename ContainerOf<Key>::type;
   static constexpr bool boxed = !RadixKey<Key>;

 public:
   /// A place among the rows, good until the next change.
   class iterator {
    public:
      iterator() = default;
      Key const& key() const { return it_->first; }
      Row& row() const {
         if constexpr (boxed) {
            return *it_->second;
         } else {
            return it_->second;
         }
      }
      iterator& operator++() {
         ++it_;
         return *this;
      }
      bool operator==(iterator const&) const = default;

    private:
      friend class Rows;
      explicit iterator(typename Container::iterator it) : it_(it) {}
      typename Container::iterator it_;
   };

   std::size_t size() const { return container_->size(); }
   /// Raised by every insertion and removal.
   std::uint64_t version() const { return version_; }

   iterator begin() const { return iterator(container_->begin()); }
   iterator end() const { return iterator(container_->end()); }
   /// The first that is not before the key, and the first after it.
   iterator lowerBound(Key const& key) const { return iterator(container_->lower_bound(key)); }
   iterator upperBound(Key const& key) const { return iterator(container_->upper_bound(key)); }

   /// Null if there is none.
   Row* find(Key const& key) const {
      if (last_ != nullptr && lastKey_ == key) return last_;
      auto const it = container_->find(key);
      return it == container_->end() ? nullptr : remember(key, iterator(it).row());
   }
   /// Asks for the memory that lookups of the keys will read.
   void prefetch(std::span<Key const> keys) const {
      if constexpr (!boxed) container_->prefetch(keys);
   }

   /// A new row, of a key that has none.
   Row& add(Key const& key) {
      ++version_;
      if constexpr (boxed) {
         // Rows that are brought back come in order.
         return *remember(key, *container_->try_emplace(container_->end(), key, std::make_unique<Row>())->second);
      } else {
         return *remember(key, container_->try_emplace(key).first->second);
      }
   }
   /// Deletes the row; a key that has none is no error.
   void erase(Key const& key) {
      forget();
      container_->erase(key);
   }
   /// Becomes empty and gives the rows that it had.
   Rows take() {
      forget();
      Rows taken;
      taken.container_.swap(container_);
      return taken;
   }

 private:
   Row* remember(Key const& key, Row& row) const {
      lastKey_ = key;
      return last_ = &row;
   }
   void forget() {
      ++version_;
      last_ = nullptr;
   }

   std::unique_ptr<Container> container_ = std::make_unique<Container>();  // apart, so that headers are quick to read
   std::uint64_t version_ = 0;
   mutable Key lastKey_{};
   mutable Row* last_ = nullptr;
};

}  // namespace velm::embedded
