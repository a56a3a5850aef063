#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "platform/switch/CallLedger.h"
#include "platform/switch/Carrier.h"
#include "platform/switch/Rows.h"
#include "platform/switch/StoredRows.h"
#include "platform/switch/Transaction.h"

namespace velm::embedded {

/// A value whose parts bear resync marks of their own, as a route's vias do. mark() works on every set and resync;
/// prune() drops the parts that are still marked, which prunable() foresees.
template <class Value>
concept HasMarkedParts = requires(Value value, Value const& constant) {
   value.mark(true);
   value.prune();
   constant.prunable();
};

/// The container behind every manager: values by key, in order, with resync marks. Where a dataplane carries the rows
/// out, it agrees to every change before it is made and learns of it after (see Carrier), and where the switch has a
/// state folder, every change is in it before it stands here. A value never moves. The SDK lock guards it, for reads as
/// well: a lookup remembers the row that it found.
///
/// A resync marks all that is there, has clients set again what they still want, which clears the marks of that, and
/// purges the rest. amend() leaves the mark alone: a via that is set again says nothing about its route.
///
/// A change throws what the carrier throws that refuses it, velm::error if the folder does, and whatever fn throws;
/// nothing has changed then. No carrier refuses to delete, to clear and to purge. The forms that are shown an Inside
/// are one step each; those with a transaction happen when it is committed.
template <class Key, class Value>
class Table {
   struct Row {
      Value value{};
      bool marked = false;
   };

 public:
   Table() = default;
   Table(Table const&) = delete;
   Table& operator=(Table const&) = delete;

   std::size_t size() const { return rows_.size(); }
   bool empty() const { return rows_.size() == 0; }
   bool contains(Key const& key) const { return rows_.find(key) != nullptr; }
   Value const* find(Key const& key) const {
      Row const* row = rows_.find(key);
      return row == nullptr ? nullptr : &row->value;
   }
   /// Says which rows are wanted next. A hint, which changes nothing.
   void prefetch(std::span<Key const> keys) const { rows_.prefetch(keys); }

   /// Calls fn(key, value) in the order of the keys.
   template <class Fn>
   void each(Fn&& fn) const {
      for (auto it = rows_.begin(); it != rows_.end(); ++it) fn(it.key(), std::as_const(it.row().value));
   }
   /// Calls fn(key, value) in the order of the keys, from the first that is not before the given one, until it returns
   /// false.
   template <class Fn>
   void walkFrom(Key const& first, Fn&& fn) const {
      for (auto it = rows_.lowerBound(first); it != rows_.end() && fn(it.key(), std::as_const(it.row().value)); ++it) {
      }
   }
   /// Calls fn(key, value) for every row that a purge would delete, in the order of the keys.
   template <class Fn>
   void eachMarked(Fn&& fn) const {
      for (auto it = rows_.begin(); it != rows_.end(); ++it) {
         if (it.row().marked) fn(it.key(), std::as_const(it.row().value));
      }
   }

   /// Who carries the rows out, as long as the table changes; null for nobody. Before the first row.
   void carrierIs(Carrier<Key, Value>* carrier) { carrier_ = carrier; }

   /// Keeps every change in the folder from now on. Rows that the folder has replace those that stand here, which go;
   /// one that is fresh takes what stands here. Throws StateRefused.
   void storeIs(Store& store, StoredTable id) {
      storeIs(store, id, [](StoredBytes& in, Value& value) { decode(in, value); });
   }
   /// For values that the owner decodes, by decodeValue(stored bytes, value).
   template <class Decode>
   void storeIs(Store& store, StoredTable id, Decode&& decodeValue) {
      bind(store, id, {});
      if (store.fresh()) {
         each([this](Key const& key, Value const& value) { stored_->put(key, value); });
         return;
      }
      drop();
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
   /// For one table of several that share an id, told apart by the front of their keys; the owner restores them.
   void bind(Store& store, StoredTable id, std::string_view keyFront) {
      stored_ = std::make_unique<StoredRows<Key, Value>>(store, id, keyFront);
   }
   /// Puts back what was stored.
   void restore(Key const& key, Value value) {
      Row& row = rows_.add(key);
      row.value = std::move(value);
      if (carrier_ != nullptr) carrier_->restore(key, row.value);
   }

   /// Sets a value: fn works on the present one, or on a new default one. Clears the resync mark.
   template <class Fn>
   void update(Inside const& /*inside*/, Key const& key, Fn&& fn) {
      if (Row* row = rows_.find(key)) {
         change(key, *row, fn);
         row->marked = false;
         return;
      }
      Value fresh{};
      fn(fresh);
      replace(key, nullptr, std::move(fresh));
   }
   template <class Fn>
   void update(Transaction& transaction, Key const& key, Fn&& fn) {
      // A copy, for the row is to read as before until the commit.
      Value const* present = find(key);
      auto next = present == nullptr ? Value{} : *present;
      fn(next);
      set(transaction, key, std::move(next));
   }
   void set(Inside const& /*inside*/, Key const& key, Value value) {
      replace(key, rows_.find(key), std::move(value)).marked = false;
   }
   void set(Transaction& transaction, Key const& key, Value value) {
      stage(transaction, key, std::move(value), carrier_);
   }
   /// Sets what the dataplane has reported: it knows, so it is neither asked nor told.
   void setReported(Transaction& transaction, Key const& key, Value value) {
      stage(transaction, key, std::move(value), nullptr);
   }
   /// Changes a part of a value that exists; its mark stays. False if there is none.
   template <class Fn>
   bool amend(Inside const& /*inside*/, Key const& key, Fn&& fn) {
      Row* row = rows_.find(key);
      if (row == nullptr) return false;
      change(key, *row, fn);
      return true;
   }
   /// False if there was none.
   bool del(Inside const& /*inside*/, Key const& key) {
      if (!contains(key)) return false;
      if (stored_) stored_->del(key);
      erase(key);
      return true;
   }
   bool del(Transaction& transaction, Key const& key) {
      if (!contains(key)) return false;
      if (stored_) stored_->del(transaction, key);
      transaction.onCommit([this, key] { erase(key); });
      return true;
   }
   /// Deletes every row.
   void clear(Transaction& transaction) {
      if (stored_) {
         each([&](Key const& key, Value const&) { stored_->del(transaction, key); });
      }
      transaction.onCommit([this] { drop(); });
   }

   /// Marks what wanted(key, value) picks, its parts with it, and clears every other mark.
   template <class Wanted>
   void mark(Inside const& /*inside*/, Wanted wanted) {
      for (auto it = rows_.begin(); it != rows_.end(); ++it) {
         Row& row = it.row();
         row.marked = wanted(it.key(), std::as_const(row.value));
         if constexpr (HasMarkedParts<Value>) row.value.mark(row.marked);
      }
   }
   void markAll(Inside const& inside) {
      mark(inside, [](auto&&...) { return true; });
   }
   /// Deletes what is still marked, and of what stays the parts that are.
   void purge(Inside const& inside) {
      Transaction transaction(inside);
      purge(transaction);
      transaction.commit();
   }
   void purge(Transaction& transaction) {
      if (stored_) {
         for (auto it = rows_.begin(); it != rows_.end(); ++it) stagePurge(transaction, it.key(), it.row());
      }
      transaction.onCommit([this] { applyPurge(); });
   }

   /// A place in the table that outlives every change, see TableCursor.h.
   class Cursor;

 private:
   template <class Fn>
   void change(Key const& key, Row& row, Fn& fn) {
      if (stored_ || carrier_ != nullptr) {
         auto next = row.value;
         fn(next);
         replace(key, &row, std::move(next));
      } else {
         fn(row.value);
      }
   }
   /// The present row, null for a new one, becomes the next.
   Row& replace(Key const& key, Row* row, Value&& next) {
      Room room = prepared(carrier_, key, row, next);
      if (stored_) stored_->put(key, next);
      return become(carrier_, key, row, std::move(next), std::move(room));
   }
   void stage(Transaction& transaction, Key const& key, Value&& value, Carrier<Key, Value>* carrier) {
      Room room = prepared(carrier, key, rows_.find(key), value);
      if (stored_) stored_->put(transaction, key, value);
      transaction.onCommit([this, carrier, key, next = std::move(value), room = std::move(room)]() mutable {
         become(carrier, key, rows_.find(key), std::move(next), std::move(room)).marked = false;
      });
   }
   static Room prepared(Carrier<Key, Value>* carrier, Key const& key, Row const* row, Value const& next) {
      return carrier == nullptr ? Room() : carrier->prepare(key, row == nullptr ? nullptr : &row->value, next);
   }
   void stagePurge(Transaction& transaction, Key const& key, Row const& row) {
      if (row.marked) {
         stored_->del(transaction, key);
      } else if constexpr (HasMarkedParts<Value>) {
         if (!row.value.prunable()) return;
         auto next = row.value;
         next.prune();
         stored_->put(transaction, key, next);
      }
   }
   // A removal changes the shape of the rows, so the place is looked up anew after each.
   void applyPurge() {
      for (auto it = rows_.begin(); it != rows_.end();) {
         Row& row = it.row();
         if (row.marked) {
            Key const key = it.key();
            erase(key);
            it = rows_.upperBound(key);
            continue;
         }
         if constexpr (HasMarkedParts<Value>) {
            if (row.value.prunable()) {
               row.value.prune();
               tell(it.key(), &row.value);
            }
         }
         ++it;
      }
   }

   // Done once the folder has accepted the change; these cannot fail any more.
   Row& become(Carrier<Key, Value>* carrier, Key const& key, Row* row, Value&& next, Room&& room) {
      if (row == nullptr) row = &rows_.add(key);
      row->value = std::move(next);
      if (carrier != nullptr) carrier->carryOut(key, &row->value, std::move(room));
      return *row;
   }
   void erase(Key const& key) {
      rows_.erase(key);
      tell(key, nullptr);
   }
   /// Deletes every row, in memory.
   void drop() {
      auto const gone = rows_.take();
      for (auto it = gone.begin(); it != gone.end(); ++it) tell(it.key(), nullptr);
   }
   /// Of a change that could not be refused.
   void tell(Key const& key, Value const* now) {
      if (carrier_ != nullptr) carrier_->carryOut(key, now, {});
   }

   Rows<Key, Row> rows_;
   Carrier<Key, Value>* carrier_ = nullptr;          // null where nobody carries out
   std::unique_ptr<StoredRows<Key, Value>> stored_;  // null without a state folder
};

}  // namespace velm::embedded
