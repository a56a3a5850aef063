#pragma once

#include <string>
#include <string_view>

#include "platform/switch/Codec.h"
#include "platform/switch/Store.h"
#include "platform/switch/Transaction.h"

namespace velm::embedded {

/// The place of a table's rows in the state folder: under their keys, after the table's byte and a front that tells the
/// table from others of that byte. A value is stored by encode(bytes, value), or by encode(bytes, key, value) if there
/// is one. The forms without a transaction are one step each and throw velm::error if the folder refuses it.
template <class Key, class Value>
class StoredRows {
 public:
   StoredRows(Store& store, StoredTable id, std::string_view keyFront)
      : store_(store), front_(std::string(1, static_cast<char>(id)).append(keyFront)) {}

   void put(Key const& key, Value const& value) { store_.put(keyOf(key), valueOf(key, value)); }
   void put(Transaction& transaction, Key const& key, Value const& value) {
      transaction.put(store_, keyOf(key), valueOf(key, value));
   }
   void del(Key const& key) { store_.del(keyOf(key)); }
   void del(Transaction& transaction, Key const& key) { transaction.del(store_, keyOf(key)); }

 private:
   static void encodeRow(std::string& out, Key const& key, Value const& value) {
      if constexpr (requires { encode(out, key, value); }) {
         encode(out, key, value);
      } else {
         encode(out, value);
      }
   }

   std::string_view keyOf(Key const& from) {
      key_ = front_;
      encodeKey_(key_, from);
      return key_;
   }
   std::string_view valueOf(Key const& key, Value const& from) {
      value_.clear();
      encodeValue_(value_, key, from);
      return value_;
   }

   Store& store_;
   std::string const front_;
   // By pointer, so that only who makes one of these need know how such values are stored: some tables never are.
   void (*const encodeKey_)(std::string& out, Key const& key) = [](std::string& out, Key const& key) {
      encode(out, key);
   };
   void (*const encodeValue_)(std::string& out, Key const& key, Value const& value) = encodeRow;
   // Kept between changes for their room.
   std::string key_;
   std::string value_;
};

}  // namespace velm::embedded
