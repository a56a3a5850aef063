#pragma once

#include <string>
#include <string_view>

#include "platform/switch/Json.h"
#include "platform/switch/Table.h"
#include "platform/velm/errors.h"

namespace velm::embedded::commands {

/// The answer of a configuration command.
inline constexpr auto done = "{}";

/// The rows of a table as an object under the title: the one of that name, or all if the name is empty. write(key,
/// value) writes each. Throws invalid_argument_error if there is none of that name.
template <class Key, class Value, class Write>
void writeRows(JsonWriter& json, std::string_view title, Table<Key, Value> const& table, std::string const& name,
               Write write) {
   writeKey(json, title);
   json.StartObject();
   if (name.empty()) {
      table.each(write);
   } else {
      Key const key(name);
      Value const* value = table.find(key);
      if (value == nullptr) throw invalid_argument_error("no such name " + name);
      write(key, *value);
   }
   json.EndObject();
}

/// All rows of a table as an array under the title; write(key, value) writes each.
template <class Key, class Value, class Write>
void writeArray(JsonWriter& json, std::string_view title, Table<Key, Value> const& table, Write write) {
   writeKey(json, title);
   json.StartArray();
   table.each(write);
   json.EndArray();
}

}  // namespace velm::embedded::commands
