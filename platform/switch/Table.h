#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/switch/Codec.h"
#include "platform/switch/RadixKeys.h"
#include "platform/switch/RadixMap.h"
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

/// What keeps a table's rows in the order of their keys: a tree of boxes, for a row must not move, or, where the keys
/// can be read as bits, what is made for a million of them.
template <class Key, class Row>
struct RowsOf {
   using type = absl::btree_map<Key, std::unique_ptr<Row>>;
};
template <RadixKey Key, class Row>
struct RowsOf<Key, Row> {
   using type = RadixMap<Key, Row>;
};

/// The container behind every manager: values by key, in order, with resync marks, notices of change and, where the
/// switch has a state folder, every change in it before it stands here. A row never moves. The SDK lock guards it.
///
/// A value is stored by encode(bytes, value), or by encode(bytes, key, value) if there is one.
///
/// A change throws velm::error if the folder refuses it, and whatever fn throws; nothing has changed then. The forms
/// without a transaction are one step each; those with one happen when it is committed.
template <class Key, class Value>
class Table {
   struct Row {
      Value value{};
      bool marked = false;
   };
   using Rows = typename RowsOf<Key, Row>::type;

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

   /// Says which rows are wanted next. A hint, which changes nothing.
   void prefetch(std::span<Key const> keys) const {
      if constexpr (!boxed) rows_->prefetch(keys);
   }

   void onChange(Notice notice) { notices_.push_back(std::move(notice)); }

   /// Keeps every change in the folder from now on. Rows that the folder has replace those that stand here; one that is
   /// fresh takes what stands here.
   void storeIs(Store& store, StoredTable id) {
      storeIs(store, id, [](StoredBytes& in, Value& value) { decode(in, value); });
   }
   /// The same for values that the owner decodes, by decodeValue(stored bytes, value).
   template <class Decode>
   void storeIs(Store& store, StoredTable id, Decode&& decodeValue) {
      bind(store, id, {});
      if (store.fresh()) {
         for (auto const& [key, row] : *rows_) persist(key, rowIn(row).value);
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
         decodeValue(valueBytes, value);
         keyBytes.expectEnd();
         valueBytes.expectEnd();
         restore(key, std::move(value));
      });
   }
   /// The same for one table of several that share an id, told apart by the front of their keys; the owner restores
   /// them.
   void bind(Store& store, StoredTable id, std::string_view keyFront) {
      binding_ =
         std::make_unique<Binding>(Binding{store, std::string(1, static_cast<char>(id)).append(keyFront),
                                           [](std::string& out, Key const& key) { encode(out, key); }, encodeRow});
   }
   /// Puts back what was stored.
   void restore(Key const& key, Value value) { notify(key, &add(key, std::move(value)).value); }

   /// Sets a value: fn works on the present one, or on a new default one. Clears the resync mark.
   template <class Fn>
   void update(Key const& key, Fn&& fn) {
      if (Row* row = lookup(key)) {
         change(key, *row, fn);
         row->marked = false;
         return;
      }
      Value fresh{};
      fn(fresh);
      persist(key, fresh);
      insert(key, std::move(fresh));
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
      if (!contains(key)) return false;
      if (binding_) binding_->store.del(binding_->keyOf(key));
      forget(key);
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
      for (auto& [key, kept] : *rows_) {
         Row& row = rowIn(kept);
         row.marked = wanted(key, std::as_const(row.value));
         if constexpr (HasMarkedParts<Value>) row.value.mark(row.marked);
      }
   }
   void markAll() {
      mark([](auto&&...) { return true; });
   }
   /// Calls fn(key, value) for every row that a purge would delete, in the order of the keys.
   template <class Fn>
   void walkMarked(Fn&& fn) const {
      for (auto const& [key, kept] : *rows_) {
         Row const& row = rowIn(kept);
         if (row.marked) fn(key, row.value);
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
         for (auto const& [key, kept] : *rows_) stagePurge(transaction, key, rowIn(kept));
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
      Value const& value() const { return rowIn(it_->second).value; }
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
      typename Rows::iterator it_;
      std::uint64_t version_;
      bool atEnd_ = false;
      Key key_;
   };

 private:
   struct Binding {
      Store& store;
      std::string keyFront;
      void (*encodeKey)(std::string& out, Key const& key);
      void (*encodeValue)(std::string& out, Key const& key, Value const& value);
      std::string key{};    // kept between changes for its room
      std::string value{};  // the same

      std::string_view keyOf(Key const& from) {
         key = keyFront;
         encodeKey(key, from);
         return key;
      }
      std::string_view valueOf(Key const& fromKey, Value const& from) {
         value.clear();
         encodeValue(value, fromKey, from);
         return value;
      }
   };
   static void encodeRow(std::string& out, Key const& key, Value const& value) {
      if constexpr (requires { encode(out, key, value); }) {
         encode(out, key, value);
      } else {
         encode(out, value);
      }
   }

   void persist(Key const& key, Value const& value) {
      if (binding_) binding_->store.put(binding_->keyOf(key), binding_->valueOf(key, value));
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
      if (binding_) transaction.put(binding_->store, binding_->keyOf(key), binding_->valueOf(key, next));
      transaction.onCommit([this, key, box = std::make_shared<Value>(std::move(next))] {
         if (Row* row = lookup(key)) {
            row->value = std::move(*box);
            row->marked = false;
            notify(key, &row->value);
         } else {
            insert(key, std::move(*box));
         }
      });
   }
   void insert(Key const& key, Value&& value) {
      Row& row = add(key, std::move(value));
      remember(key, &row);
      notify(key, &row.value);
   }
   Row& add(Key const& key, Value&& value) {
      ++version_;
      Row* row = nullptr;
      if constexpr (boxed) {
         // Rows that are brought back come in order.
         row = rows_->try_emplace(rows_->end(), key, std::make_unique<Row>())->second.get();
      } else {
         row = &rows_->try_emplace(key).first->second;
      }
      row->value = std::move(value);
      return *row;
   }

   void stagePurge(Transaction& transaction, Key const& key, Row const& row) {
      if (row.marked) {
         transaction.del(binding_->store, binding_->keyOf(key));
      } else if constexpr (HasMarkedParts<Value>) {
         if (!row.value.prunable()) return;
         auto next = row.value;
         next.prune();
         transaction.put(binding_->store, binding_->keyOf(key), binding_->valueOf(key, next));
      }
   }
   void applyPurge() {
      for (auto it = rows_->begin(); it != rows_->end();) {
         Row& row = rowIn(it->second);
         if (row.marked) {
            Key const key = it->first;
            forget(key);
            it = rows_->upper_bound(key);
            continue;
         }
         if constexpr (HasMarkedParts<Value>) {
            if (row.value.prunable()) {
               row.value.prune();
               notify(it->first, &row.value);
            }
         }
         ++it;
      }
   }
   void forget(Key const& key) {
      ++version_;
      last_ = nullptr;
      rows_->erase(key);
      notify(key, nullptr);
   }

   static constexpr bool boxed = !std::is_same_v<typename Rows::mapped_type, Row>;
   template <class Kept>
   static auto& rowIn(Kept& kept) {
      if constexpr (boxed) {
         return *kept;
      } else {
         return kept;
      }
   }

   // A route is set and then gets its vias: the second lookup of a key is the commonest, so the last one is remembered.
   Row* remembered(Key const& key) const { return last_ != nullptr && lastKey_ == key ? last_ : nullptr; }
   Row* lookup(Key const& key) const {
      if (Row* row = remembered(key)) return row;
      auto const it = rows_->find(key);
      if (it == rows_->end()) return nullptr;
      remember(key, &rowIn(it->second));
      return last_;
   }
   void remember(Key const& key, Row* row) const {
      lastKey_ = key;
      last_ = row;
   }
   template <class It, class Fn>
   void walk(It it, Fn& fn) const {
      while (it != rows_->end() && fn(it->first, std::as_const(rowIn(it->second).value))) ++it;
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
