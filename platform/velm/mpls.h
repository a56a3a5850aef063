#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <tuple>

#include "platform/velm/attribute.h"

namespace velm {

/// An action on the label stack of a packet.
enum class mpls_action_t : std::uint8_t { none = 0, push = 1, pop = 2, swap = 3, forward = 4 };
constexpr auto last_value(mpls_action_t) { return mpls_action_t::forward; }

/// Prints "none", "push", "pop", "swap", "forward"; nothing for a value outside.
std::ostream& operator<<(std::ostream&, mpls_action_t);

/// A label of 20 bits. The default is the explicit null label, 0.
class mpls_label_t {
 public:
   static constexpr std::uint32_t max = 1048575;

   mpls_label_t() = default;
   /// Throws invalid_range_error above max.
   explicit mpls_label_t(std::uint32_t label);

   std::uint32_t label() const { return label_; }

   auto operator<=>(mpls_label_t const&) const = default;
   static constexpr auto attributes() { return std::tuple{attribute{"label", &mpls_label_t::label_}}; }

 private:
   std::uint32_t label_ = 0;
};

/// Names a forwarding equivalence class: what the dataplane holds for one route. 0 is none.
class mpls_fec_id_t {
 public:
   mpls_fec_id_t() = default;
   explicit mpls_fec_id_t(unsigned long id) : id_(id) {}

   unsigned long id() const { return id_; }
   std::size_t hash() const { return std::hash<unsigned long>()(id_); }

   auto operator<=>(mpls_fec_id_t const&) const = default;
   static constexpr auto attributes() { return std::tuple{attribute{"id", &mpls_fec_id_t::id_}}; }

 private:
   unsigned long id_ = 0;
};

}  // namespace velm

template <>
struct std::hash<velm::mpls_fec_id_t> {
   std::size_t operator()(velm::mpls_fec_id_t fec) const noexcept { return fec.hash(); }
};
