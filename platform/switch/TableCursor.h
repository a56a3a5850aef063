#pragma once

#include <cstdint>

#include "platform/switch/Table.h"

namespace velm::embedded {

/// A place in the table that outlives every change: it holds its key and looks for the next one when the table has
/// changed its shape since.
template <class Key, class Value>
class Table<Key, Value>::Cursor {
 public:
   explicit Cursor(Table const& table) : table_(&table), it_(table.rows_.begin()), version_(table.rows_.version()) {
      arrive();
   }
   bool atEnd() const { return atEnd_; }
   Key const& key() const { return key_; }
   /// The value under the cursor. Valid right after construction and advance(), under the same hold of the lock.
   Value const& value() const { return it_.row().value; }
   /// At the end nothing happens: an iterator may be asked once too often.
   void advance() {
      if (atEnd_) return;
      auto const& rows = table_->rows_;
      if (version_ == rows.version()) {
         ++it_;
      } else {
         it_ = rows.upperBound(key_);
         version_ = rows.version();
      }
      arrive();
   }

 private:
   void arrive() {
      atEnd_ = it_ == table_->rows_.end();
      if (!atEnd_) key_ = it_.key();
   }

   Table const* table_;
   typename Rows<Key, Row>::iterator it_;
   std::uint64_t version_;
   bool atEnd_ = false;
   Key key_;
};

}  // namespace velm::embedded
