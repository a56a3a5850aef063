#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace velm::embedded {

/// The container behind every manager: values by key, in order, with resync marks and notices of change. Made for a
/// million entries: rows are boxed, so that the tree stays shallow and a row never moves. The SDK lock guards it.
template <class Key, class Value>
class Table {
   struct Row {
      Value value{};
      bool marked = false;
   };
   using Rows = absl::btree_map<Key, std::unique_ptr<Row>>;

 public:
   /// Called after every change with the value as it now is, null when it is gone.
   using Notice = std::function<void(Key const&, Value const* now)>;

   Table() = default;
   Table(Table const&) = delete;
   Table& operator=(Table const&) = delete;

   std::size_t size() const { return rows_.size(); }
   bool empty() const { return rows_.empty(); }
   bool contains(Key const& key) const { return lookup(key) != nullptr; }
   Value const* find(Key const& key) const {
      Row const* row = lookup(key);
      return row == nullptr ? nullptr : &row->value;
   }

   void onChange(Notice notice) { notices_.push_back(std::move(notice)); }

   /// Sets a value: fn works on the present one, or on a new default one. Clears the resync mark.
   template <class Fn>
   void update(Key const& key, Fn&& fn) {
      Row* row = remembered(key);
      if (row == nullptr) {
         auto place = rows_.lower_bound(key);
         if (place == rows_.end() || place->first != key) {
            auto fresh = std::make_unique<Row>();
            fn(fresh->value);  // before the row is in the table: if fn throws, nothing has changed
            place = rows_.try_emplace(place, key, std::move(fresh));
            ++version_;
            row = place->second.get();
            remember(key, row);
            notify(key, &row->value);
            return;
         }
         row = place->second.get();
         remember(key, row);
      }
      fn(row->value);
      row->marked = false;
      notify(key, &row->value);
   }
   void set(Key const& key, Value value) {
      update(key, [&](Value& present) { present = std::move(value); });
   }
   /// Changes a part of a value that exists; its mark stays. False if there is none.
   template <class Fn>
   bool amend(Key const& key, Fn&& fn) {
      Row* row = lookup(key);
      if (row == nullptr) return false;
      fn(row->value);
      notify(key, &row->value);
      return true;
   }
   /// False if there was none.
   bool del(Key const& key) {
      auto const it = rows_.find(key);
      if (it == rows_.end()) return false;
      erase(it);
      notify(key, nullptr);
      return true;
   }

   /// Marks what wanted(key, value) picks and clears every other mark; the value may be changed on the way.
   template <class Wanted>
   void mark(Wanted wanted) {
      for (auto& [key, row] : rows_) row->marked = wanted(key, row->value);
   }
   void markAll() {
      mark([](auto&&...) { return true; });
   }
   /// Deletes what is still marked and calls kept(key, value) on the rest, which tells whether it changed the value.
   template <class Kept>
   void purge(Kept kept) {
      for (auto it = rows_.begin(); it != rows_.end();) {
         if (it->second->marked) {
            Key const key = it->first;
            it = erase(it);
            notify(key, nullptr);
         } else {
            if (kept(it->first, it->second->value)) notify(it->first, &it->second->value);
            ++it;
         }
      }
   }
   void purge() {
      purge([](auto&&...) { return false; });
   }

   /// Calls fn(key, value) in the order of the keys, until it returns false.
   template <class Fn>
   void walk(Fn&& fn) const {
      walk(rows_.begin(), fn);
   }
   /// The same from the first key that is not before the given one.
   template <class Fn>
   void walkFrom(Key const& first, Fn&& fn) const {
      walk(rows_.lower_bound(first), fn);
   }

   /// A place in the table that outlives every change: it holds its key and looks for the next one when the table has
   /// changed its shape since.
   class Cursor {
    public:
      explicit Cursor(Table const& table) : table_(&table), it_(table.rows_.begin()), version_(table.version_) {
         arrive();
      }
      bool atEnd() const { return atEnd_; }
      Key const& key() const { return key_; }
      /// The value under the cursor. Valid right after construction and advance(), under the same hold of the lock.
      Value const& value() const { return it_->second->value; }
      void advance() {
         if (version_ == table_->version_) {
            ++it_;
         } else {
            it_ = table_->rows_.upper_bound(key_);
            version_ = table_->version_;
         }
         arrive();
      }

    private:
      void arrive() {
         atEnd_ = it_ == table_->rows_.end();
         if (!atEnd_) key_ = it_->first;
      }

      Table const* table_;
      typename Rows::const_iterator it_;
      std::uint64_t version_;
      bool atEnd_ = false;
      Key key_;
   };

 private:
   // A route is set and then gets its vias: the second lookup of a key is the commonest, so the last one is remembered.
   Row* remembered(Key const& key) const { return last_ != nullptr && lastKey_ == key ? last_ : nullptr; }
   Row* lookup(Key const& key) const {
      if (Row* row = remembered(key)) return row;
      auto const it = rows_.find(key);
      if (it == rows_.end()) return nullptr;
      remember(key, it->second.get());
      return last_;
   }
   void remember(Key const& key, Row* row) const {
      lastKey_ = key;
      last_ = row;
   }
   template <class Fn>
   void walk(typename Rows::const_iterator it, Fn& fn) const {
      while (it != rows_.end() && fn(it->first, std::as_const(it->second->value))) ++it;
   }
   typename Rows::iterator erase(typename Rows::iterator it) {
      ++version_;
      last_ = nullptr;
      return rows_.erase(it);
   }
   void notify(Key const& key, Value const* now) const {
      for (auto const& notice : notices_) notice(key, now);
   }

   Rows rows_;
   std::uint64_t version_ = 0;  // raised by every insertion and removal
   std::vector<Notice> notices_;
   mutable Key lastKey_{};
   mutable Row* last_ = nullptr;
};

}  // namespace velm::embedded
