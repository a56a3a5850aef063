#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <concepts>
#include <forward_list>
#include <list>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "platform/velm/attribute.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"

/// Values as JSON, streamed: a table of a million rows never stands in memory as a document. Attributes bear their
/// accessors' names, enums and labels are numbers, addresses and interfaces are text, indexed things are objects keyed
/// by the decimal index.
///
///    {"name": "north", "autosize": false, "nexthops": {"0": {"nexthop": "192.0.2.1", "intf": "Ethernet1", ...}}}
namespace velm::embedded {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

template <class T>
inline constexpr bool isJsonText = false;
template <>
inline constexpr bool isJsonText<ip_addr_t> = true;
template <>
inline constexpr bool isJsonText<ip_prefix_t> = true;
template <>
inline constexpr bool isJsonText<ip_addr_mask_t> = true;
template <>
inline constexpr bool isJsonText<eth_addr_t> = true;
template <>
inline constexpr bool isJsonText<intf_id_t> = true;

inline void writeKey(JsonWriter& json, std::string_view key) {
   json.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}
inline void writeJson(JsonWriter& json, std::string_view text) {
   json.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
inline void writeJson(JsonWriter& json, mpls_label_t label) { json.Uint(label.label()); }

template <class T>
requires(std::is_arithmetic_v<T> || std::is_enum_v<T>) void writeJson(JsonWriter& json, T value) {
   if constexpr (std::is_same_v<T, bool>) {
      json.Bool(value);
   } else if constexpr (std::is_floating_point_v<T>) {
      json.Double(value);
   } else {
      json.Uint64(static_cast<std::uint64_t>(value));
   }
}

template <class T>
requires isJsonText<T>
void writeJson(JsonWriter& json, T const& value) { writeJson(json, std::string_view(value.to_string())); }

template <class T>
requires(has_attributes<T> && !isJsonText<T>) void writeJson(JsonWriter& json, T const& value);

template <std::unsigned_integral Index, class T>
void writeJson(JsonWriter& json, std::map<Index, T> const& indexed);

template <class List>
void writeList(JsonWriter& json, List const& list) {
   json.StartArray();
   for (auto const& element : list) writeJson(json, element);
   json.EndArray();
}
template <class T>
void writeJson(JsonWriter& json, std::vector<T> const& list) {
   writeList(json, list);
}
template <class T>
void writeJson(JsonWriter& json, std::forward_list<T> const& list) {
   writeList(json, list);
}
template <class T>
void writeJson(JsonWriter& json, std::list<T> const& list) {
   writeList(json, list);
}
template <class T>
void writeJson(JsonWriter& json, std::set<T> const& list) {
   writeList(json, list);
}
/// In ascending order, so that one value has one text.
template <class T>
void writeJson(JsonWriter& json, std::unordered_set<T> const& list) {
   writeList(json, std::set<T>(list.begin(), list.end()));
}
template <std::unsigned_integral Index, class T>
void writeJson(JsonWriter& json, std::map<Index, T> const& indexed) {
   json.StartObject();
   for (auto const& [index, element] : indexed) {
      writeKey(json, std::to_string(index));
      writeJson(json, element);
   }
   json.EndObject();
}

/// One member of an object.
template <class T>
void writeMember(JsonWriter& json, std::string_view key, T const& value) {
   writeKey(json, key);
   writeJson(json, value);
}

/// The members of a value's attributes, without the braces; the attribute named `without` is left out.
template <has_attributes T>
void writeAttributes(JsonWriter& json, T const& value, std::string_view without = {}) {
   for_each_shown_attribute(value, [&](char const* name, auto const& attribute) {
      if (name != without) writeMember(json, name, attribute);
   });
}

template <class T>
requires(has_attributes<T> && !isJsonText<T>) void writeJson(JsonWriter& json, T const& value) {
   json.StartObject();
   writeAttributes(json, value);
   json.EndObject();
}

/// The text of one object whose members fill(json) writes.
template <class Fill>
std::string jsonObject(Fill&& fill) {
   rapidjson::StringBuffer text;
   JsonWriter json(text);
   json.StartObject();
   fill(json);
   json.EndObject();
   return {text.GetString(), text.GetSize()};
}

}  // namespace velm::embedded
