#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/switch/Codec.h"
#include "platform/switch/Store.h"

namespace velm::embedded {

/// A value whose parts bear resync marks of their own, as a route's vias do. mark() works on every set and resync;
/// prune() drops the parts that are still marked, which prunable() foresees.
template <class Value>
concept HasMarkedParts = requires(Value value, Value const& constant) {
   value.mark(true);
   value.prune();
   constant.prunable();
};

/// The container behind every manager: values by key, in order, with resync marks, notices of change and, where the
/// switch has a state folder, every change in it before it stands here. Made for a million entries: rows are boxed, so
/// that the tree stays shallow and a row never moves. The SDK lock guards it.
///
/// A change throws velm::error if the folder refuses it, and whatever fn throws; nothing has changed then. The forms
/// without a transaction are one step each; those with one happen when it is committed.
template <class Key, class Value>
class Table {
   struct Row {
      Value value{};
      bool marked = false;
   };
   using Rows = absl::btree_map<Key, std::unique_ptr<Row>>;

 public:
   /// Called after every change with the value as it now is, null when it is gone. Must not throw.
   using Notice = std::function<void(Key const&, Value const* now)>;

   Table() = default;
   Table(Table const&) = delete;
   Table& operator=(Table const&) = delete;

   std::size_t size() const { return rows_->size(); }
   bool empty() const { return rows_->empty(); }
   bool contains(Key const& key) const { return lookup(key) != nullptr; }
   Value const* find(Key const& key) const {
      Row const* row = lookup(key);
      return row == nullptr ? nullptr : &row->value;
   }

   void onChange(Notice notice) { notices_.push_back(std::move(notice)); }

   /// Keeps every change in the folder from now on. Rows that the folder has replace those that stand here; one that is
   /// fresh takes what stands here.
   void storeIs(Store& store, StoredTable id) {
      bind(store, id, {});
      if (store.fresh()) {
         for (auto const& [key, row] : *rows_) persist(key, row->value);
         return;
      }
      rows_->clear();
      last_ = nullptr;
      ++version_;
      store.load(id, [&](std::string_view storedKey, std::string_view storedValue) {
         StoredBytes keyBytes(storedKey);
         StoredBytes valueBytes(storedValue);
         Key key{};
         Value value{};
         decode(keyBytes, key);
         decode(valueBytes, value);
         restore(key, std::move(value));
      });
   }
   /// The same for one table of several that share an id, told apart by the front of their keys; the owner restores
   /// them.
   void bind(Store& store, StoredTable id, std::string_view keyFront) {
      binding_ = std::make_unique<Binding>(Binding{store, std::string(1, static_cast<char>(id)).append(keyFront),
                                                   [](std::string& out, Key const& key) { encode(out, key); },
                                                   [](std::string& out, Value const& value) { encode(out, value); }});
   }
   /// Puts back what was stored. Rows that come in order are put back fastest.
   void restore(Key const& key, Value value) {
      auto const it = rows_->try_emplace(rows_->end(), key, std::make_unique<Row>());
      it->second->value = std::move(value);
      notify(key, &it->second->value);
   }

   /// Sets a value: fn works on the present one, or on a new default one. Clears the resync mark.
   template <class Fn>
   void update(Key const& key, Fn&& fn) {
      Row* row = remembered(key);
      if (row == nullptr) {
         auto const place = rows_->lower_bound(key);
         if (place == rows_->end() || place->first != key) {
            auto fresh = std::make_unique<Row>();
            fn(fresh->value);
            persist(key, fresh->value);
            insert(place, key, std::move(fresh));
            return;
         }
         row = place->second.get();
         remember(key, row);
      }
      change(key, *row, fn);
      row->marked = false;
   }
   template <class Fn>
   void update(Transaction& transaction, Key const& key, Fn&& fn) {
      Row const* present = lookup(key);
      auto next = present == nullptr ? Value{} : present->value;
      fn(next);
      stage(transaction, key, std::move(next));
   }
   void set(Key const& key, Value value) {
      update(key, [&](Value& present) { present = std::move(value); });
   }
   void set(Transaction& transaction, Key const& key, Value value) { stage(transaction, key, std::move(value)); }
   /// Changes a part of a value that exists; its mark stays. False if there is none.
   template <class Fn>
   bool amend(Key const& key, Fn&& fn) {
      Row* row = lookup(key);
      if (row == nullptr) return false;
      change(key, *row, fn);
      return true;
   }
   /// False if there was none.
   bool del(Key const& key) {
      auto const it = rows_->find(key);
      if (it == rows_->end()) return false;
      if (binding_) binding_->store.del(binding_->keyOf(key));
      erase(it);
      notify(key, nullptr);
      return true;
   }
   bool del(Transaction& transaction, Key const& key) {
      if (!contains(key)) return false;
      if (binding_) transaction.del(binding_->store, binding_->keyOf(key));
      transaction.onCommit([this, key] { forget(key); });
      return true;
   }

   /// Marks what wanted(key, value) picks, its parts with it, and clears every other mark.
   template <class Wanted>
   void mark(Wanted wanted) {
      for (auto& [key, row] : *rows_) {
         row->marked = wanted(key, std::as_const(row->value));
         if constexpr (HasMarkedParts<Value>) row->value.mark(row->marked);
      }
   }
   void markAll() {
      mark([](auto&&...) { return true; });
   }
   /// Calls fn(key, value) for every row that a purge would delete, in the order of the keys.
   template <class Fn>
   void walkMarked(Fn&& fn) const {
      for (auto const& [key, row] : *rows_) {
         if (row->marked) fn(key, std::as_const(row->value));
      }
   }
   /// Deletes what is still marked, and of what stays the parts that are.
   void purge() {
      Transaction transaction;
      purge(transaction);
      transaction.commit();
   }
   void purge(Transaction& transaction) {
      if (binding_) {
         for (auto const& [key, row] : *rows_) stagePurge(transaction, key, *row);
      }
      transaction.onCommit([this] { applyPurge(); });
   }

   /// Calls fn(key, value) in the order of the keys, until it returns false.
   template <class Fn>
   void walk(Fn&& fn) const {
      walk(rows_->begin(), fn);
   }
   /// The same from the first key that is not before the given one.
   template <class Fn>
   void walkFrom(Key const& first, Fn&& fn) const {
      walk(rows_->lower_bound(first), fn);
   }

   /// A place in the table that outlives every change: it holds its key and looks for the next one when the table has
   /// changed its shape since.
   class Cursor {
    public:
      explicit Cursor(Table const& table) : table_(&table), it_(table.rows_->begin()), version_(table.version_) {
         arrive();
      }
      bool atEnd() const { return atEnd_; }
      Key const& key() const { return key_; }
      /// The value under the cursor. Valid right after construction and advance(), under the same hold of the lock.
      Value const& value() const { return it_->second->value; }
      /// At the end nothing happens: an iterator may be asked once too often.
      void advance() {
         if (atEnd_) return;
         if (version_ == table_->version_) {
            ++it_;
         } else {
            it_ = table_->rows_->upper_bound(key_);
            version_ = table_->version_;
         }
         arrive();
      }

    private:
      void arrive() {
         atEnd_ = it_ == table_->rows_->end();
         if (!atEnd_) key_ = it_->first;
      }

      Table const* table_;
      typename Rows::const_iterator it_;
      std::uint64_t version_;
      bool atEnd_ = false;
      Key key_;
   };

 private:
   struct Binding {
      Store& store;
      std::string keyFront;
      void (*encodeKey)(std::string& out, Key const& key);
      void (*encodeValue)(std::string& out, Value const& value);
      std::string key{};    // kept between changes for its room
      std::string value{};  // the same

      std::string_view keyOf(Key const& from) {
         key = keyFront;
         encodeKey(key, from);
         return key;
      }
      std::string_view valueOf(Value const& from) {
         value.clear();
         encodeValue(value, from);
         return value;
      }
   };

   void persist(Key const& key, Value const& value) {
      if (binding_) binding_->store.put(binding_->keyOf(key), binding_->valueOf(value));
   }
   template <class Fn>
   void change(Key const& key, Row& row, Fn& fn) {
      if (binding_) {
         auto next = row.value;
         fn(next);
         persist(key, next);
         row.value = std::move(next);
      } else {
         fn(row.value);
      }
      notify(key, &row.value);
   }
   void stage(Transaction& transaction, Key const& key, Value next) {
      if (binding_) transaction.put(binding_->store, binding_->keyOf(key), binding_->valueOf(next));
      transaction.onCommit([this, key, box = std::make_shared<Value>(std::move(next))] {
         auto const place = rows_->lower_bound(key);
         if (place == rows_->end() || place->first != key) {
            auto fresh = std::make_unique<Row>();
            fresh->value = std::move(*box);
            insert(place, key, std::move(fresh));
         } else {
            place->second->value = std::move(*box);
            place->second->marked = false;
            notify(key, &place->second->value);
         }
      });
   }
   template <class It>
   void insert(It place, Key const& key, std::unique_ptr<Row> fresh) {
      Row* const row = fresh.get();
      rows_->try_emplace(place, key, std::move(fresh));
      ++version_;
      remember(key, row);
      notify(key, &row->value);
   }

   void stagePurge(Transaction& transaction, Key const& key, Row const& row) {
      if (row.marked) {
         transaction.del(binding_->store, binding_->keyOf(key));
      } else if constexpr (HasMarkedParts<Value>) {
         if (!row.value.prunable()) return;
         auto next = row.value;
         next.prune();
         transaction.put(binding_->store, binding_->keyOf(key), binding_->valueOf(next));
      }
   }
   void applyPurge() {
      for (auto it = rows_->begin(); it != rows_->end();) {
         if (it->second->marked) {
            Key const key = it->first;
            it = erase(it);
            notify(key, nullptr);
            continue;
         }
         if constexpr (HasMarkedParts<Value>) {
            if (it->second->value.prunable()) {
               it->second->value.prune();
               notify(it->first, &it->second->value);
            }
         }
         ++it;
      }
   }
   void forget(Key const& key) {
      erase(rows_->find(key));
      notify(key, nullptr);
   }

   // A route is set and then gets its vias: the second lookup of a key is the commonest, so the last one is remembered.
   Row* remembered(Key const& key) const { return last_ != nullptr && lastKey_ == key ? last_ : nullptr; }
   Row* lookup(Key const& key) const {
      if (Row* row = remembered(key)) return row;
      auto const it = rows_->find(key);
      if (it == rows_->end()) return nullptr;
      remember(key, it->second.get());
      return last_;
   }
   void remember(Key const& key, Row* row) const {
      lastKey_ = key;
      last_ = row;
   }
   template <class It, class Fn>
   void walk(It it, Fn& fn) const {
      while (it != rows_->end() && fn(it->first, std::as_const(it->second->value))) ++it;
   }
   template <class It>
   It erase(It it) {
      ++version_;
      last_ = nullptr;
      return rows_->erase(it);
   }
   void notify(Key const& key, Value const* now) const {
      for (auto const& notice : notices_) notice(key, now);
   }

   std::unique_ptr<Rows> rows_ = std::make_unique<Rows>();  // apart, so that a header which has tables is quick to read
   std::uint64_t version_ = 0;                              // raised by every insertion and removal
   std::vector<Notice> notices_;
   std::unique_ptr<Binding> binding_;  // null without a state folder
   mutable Key lastKey_{};
   mutable Row* last_ = nullptr;
};

}  // namespace velm::embedded
