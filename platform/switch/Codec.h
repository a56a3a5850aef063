#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstdint>
#include <forward_list>
#include <list>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/qor/Text.h"
#include "platform/velm/attribute.h"
#include "platform/velm/enums.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"

/// The stored form of values: their attributes one after the other, in the order of their list. Numbers are big-endian
/// and of their type's width, so that fixed-size keys sort in the folder as they do in their table; texts and lists
/// have their length before them. There is nothing to skip by: a value that gains an attribute is a new format.
///
///    a bool, an enum        01                       one byte, as wide as the type
///    the number 258         00 00 01 02              of 32 bits
///    the text "ab"          00 00 00 02  61 62
///    two labels, 16 and 17  00 00 00 02  00 00 00 10  00 00 00 11
///
/// encode() appends to the bytes; decode() takes from their front and throws DamagedState for what encode() cannot have
/// written, enums that are none and texts that are no UTF-8 included.
namespace velm::embedded {

/// Stored bytes that no table can have written.
class DamagedState : public std::runtime_error {
 public:
   using runtime_error::runtime_error;
};

/// Reads a stored value from its front. Throws DamagedState where the bytes do not suffice.
class StoredBytes {
 public:
   explicit StoredBytes(std::string_view bytes) : rest_(bytes) {}
   bool atEnd() const { return rest_.empty(); }
   /// Throws DamagedState where bytes are left.
   void expectEnd() const {
      if (!atEnd()) throw DamagedState("a stored value is too long");
   }
   std::string_view take(std::size_t count) {
      if (count > rest_.size()) throw DamagedState("a stored value is too short");
      auto const bytes = rest_.substr(0, count);
      rest_.remove_prefix(count);
      return bytes;
   }

 private:
   std::string_view rest_;
};

template <class T>
concept StoredNumber = std::is_arithmetic_v<T> || std::is_enum_v<T>;

template <StoredNumber T>
void encode(std::string& out, T value);
template <StoredNumber T>
void decode(StoredBytes& in, T& value);
template <has_attributes T>
void encode(std::string& out, T const& value);
template <has_attributes T>
void decode(StoredBytes& in, T& value);

inline void encodeSize(std::string& out, std::size_t size) { encode(out, static_cast<std::uint32_t>(size)); }
inline std::size_t decodeSize(StoredBytes& in) {
   std::uint32_t size = 0;
   decode(in, size);
   return size;
}

inline void encode(std::string& out, std::string_view text) {
   encodeSize(out, text.size());
   out += text;
}
inline void decode(StoredBytes& in, std::string& text) {
   text = in.take(decodeSize(in));
   if (!Qor::isUtf8(text)) throw DamagedState("a stored text is not UTF-8");
}

template <std::size_t size>
void encode(std::string& out, std::array<unsigned char, size> const& bytes) {
   out.append(reinterpret_cast<char const*>(bytes.data()), size);
}
template <std::size_t size>
void decode(StoredBytes& in, std::array<unsigned char, size>& bytes) {
   in.take(size).copy(reinterpret_cast<char*>(bytes.data()), size);
}

template <class A, class B>
void encode(std::string& out, std::pair<A, B> const& pair) {
   encode(out, pair.first);
   encode(out, pair.second);
}

/// Everything that can be walked and filled at its end.
template <class T>
concept StoredList = requires(T list) {
   list.begin();
   list.clear();
   typename T::value_type;
}
&&!std::convertible_to<T const&, std::string_view>;

template <StoredList List>
void encode(std::string& out, List const& list) {
   encodeSize(out, static_cast<std::size_t>(std::distance(list.begin(), list.end())));
   for (auto const& element : list) encode(out, element);
}

template <StoredList List>
void decode(StoredBytes& in, List& list) {
   list.clear();
   // Nothing is reserved by the count, which may be damaged: a list that is too long ends where the bytes do.
   auto count = decodeSize(in);
   if constexpr (requires { list.before_begin(); }) {
      for (auto last = list.before_begin(); count > 0; --count) {
         last = list.emplace_after(last);
         decode(in, *last);
      }
   } else if constexpr (requires { typename List::mapped_type; }) {
      for (; count > 0; --count) {
         typename List::key_type key{};
         decode(in, key);
         decode(in, list[key]);
      }
   } else {
      for (; count > 0; --count) {
         typename List::value_type element{};
         decode(in, element);
         list.insert(list.end(), std::move(element));
      }
   }
}

template <StoredNumber T>
void encode(std::string& out, T value) {
   if constexpr (std::is_floating_point_v<T>) {
      static_assert(sizeof(T) == sizeof(std::uint64_t));
      encode(out, std::bit_cast<std::uint64_t>(value));
   } else {
      auto const bits = static_cast<std::uint64_t>(value);
      for (std::size_t i = sizeof(T); i > 0; --i) out += static_cast<char>(bits >> (i - 1) * 8);
   }
}

template <StoredNumber T>
void decode(StoredBytes& in, T& value) {
   if constexpr (std::is_floating_point_v<T>) {
      std::uint64_t bits = 0;
      decode(in, bits);
      value = std::bit_cast<T>(bits);
   } else {
      std::uint64_t bits = 0;
      for (char const byte : in.take(sizeof(T))) bits = bits << 8 | static_cast<unsigned char>(byte);
      if constexpr (std::is_enum_v<T>) {
         if (!is_valid(static_cast<T>(bits))) throw DamagedState("a stored enum cannot be " + std::to_string(bits));
      }
      value = static_cast<T>(bits);
   }
}

template <has_attributes T>
void encode(std::string& out, T const& value) {
   for_each_attribute(value, [&](char const*, auto const& member) { encode(out, member); });
}

template <has_attributes T>
void decode(StoredBytes& in, T& value) {
   for_each_attribute(value, [&](char const*, auto& member) { decode(in, member); });
}

inline void decode(StoredBytes& in, mpls_label_t& label) {
   mpls_label_t stored;
   decode<mpls_label_t>(in, stored);
   if (stored.label() > mpls_label_t::max) throw DamagedState("a stored label is out of range");
   label = stored;
}

}  // namespace velm::embedded
