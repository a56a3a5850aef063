#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <endian.h>
#include <iosfwd>
#include <span>
#include <string>
#include <tuple>

#include "platform/velm/attribute.h"

namespace velm {

/// Address family, under the numbers that the wire shows.
enum class af_t : std::uint8_t { none = 0, ipv4 = 4, ipv6 = 6 };

/// Bytes of an address of the family: 4, 16, or 0 for anything else.
constexpr std::size_t address_size(af_t af) { return af == af_t::ipv4 ? 4 : af == af_t::ipv6 ? 16 : 0; }

constexpr bool is_valid(af_t af) { return af == af_t::none || address_size(af) != 0; }

/// An IPv4 or IPv6 address, or none. Ordered by family, then by value.
class ip_addr_t {
 public:
   ip_addr_t() = default;
   /// Takes address_size(af) bytes in network order.
   ip_addr_t(af_t af, unsigned char const* bytes);
   /// Reads "10.0.0.1" or "2001:db8::1"; empty text is no address. Throws invalid_argument_error for anything else.
   explicit ip_addr_t(std::string const& text);

   af_t af() const { return af_; }
   unsigned char const* addr() const { return bytes_.data(); }
   /// The address as text, empty for none. Never throws for a bad value.
   std::string to_string() const;

   // By words, not bytes: a lookup among a million routes is comparisons and little else.
   std::strong_ordering operator<=>(ip_addr_t const& other) const {
      if (af_ != other.af_) return af_ <=> other.af_;
      auto const high = word(0);
      auto const otherHigh = other.word(0);
      return high != otherHigh ? high <=> otherHigh : word(8) <=> other.word(8);
   }
   bool operator==(ip_addr_t const&) const = default;
   template <class H>
   friend H AbslHashValue(H state, ip_addr_t const& addr) {
      return H::combine(std::move(state), addr.af_, addr.word(0), addr.word(8));
   }
   static constexpr auto attributes() {
      return std::tuple{attribute{"af", &ip_addr_t::af_}, attribute{"addr", &ip_addr_t::bytes_}};
   }

 private:
   std::uint64_t word(std::size_t at) const {
      std::uint64_t word = 0;
      std::memcpy(&word, &bytes_[at], sizeof word);
      return be64toh(word);
   }

   af_t af_ = af_t::none;
   std::array<unsigned char, 16> bytes_{};
};

/// A network: an address whose host bits are cleared, and a length in bits. A length beyond the family can be built, so
/// that any request can be shown; managers refuse it.
class ip_prefix_t {
 public:
   ip_prefix_t() = default;
   ip_prefix_t(ip_addr_t const& address, unsigned char length);
   /// Reads "10.0.0.0/8". Throws invalid_argument_error for anything else.
   explicit ip_prefix_t(std::string const& text);

   af_t af() const { return network_.af(); }
   ip_addr_t const& network() const { return network_; }
   unsigned char prefix_length() const { return length_; }
   std::string to_string() const;

   auto operator<=>(ip_prefix_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"network", &ip_prefix_t::network_},
                        attribute{"prefix_length", &ip_prefix_t::length_}};
   }

 private:
   ip_addr_t network_;
   unsigned char length_ = 0;
};

/// An address with the length of its network, host bits kept: what an interface has.
class ip_addr_mask_t {
 public:
   ip_addr_mask_t() = default;
   ip_addr_mask_t(ip_addr_t const& address, unsigned char length) : addr_(address), length_(length) {}
   /// Reads "10.0.0.1/8". Throws invalid_argument_error for anything else.
   explicit ip_addr_mask_t(std::string const& text);

   af_t af() const { return addr_.af(); }
   ip_addr_t const& addr() const { return addr_; }
   unsigned char mask_length() const { return length_; }
   std::string to_string() const;

   auto operator<=>(ip_addr_mask_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"addr", &ip_addr_mask_t::addr_}, attribute{"mask_length", &ip_addr_mask_t::length_}};
   }

 private:
   ip_addr_t addr_;
   unsigned char length_ = 0;
};

/// A MAC address; all zero is none.
class eth_addr_t {
 public:
   eth_addr_t() = default;
   explicit eth_addr_t(unsigned char const* six_bytes);

   /// True for the all-zero address.
   bool operator!() const { return *this == eth_addr_t(); }
   /// Copies the six bytes out.
   void bytes(void* to) const;
   /// "00:1c:73:00:00:01", empty for none.
   std::string to_string() const;

   auto operator<=>(eth_addr_t const&) const = default;
   static constexpr auto attributes() { return std::tuple{attribute{"bytes", &eth_addr_t::bytes_}}; }

 private:
   std::array<unsigned char, 6> bytes_{};
};

/// Throws invalid_range_error if the length exceeds the family's bits; for managers, before they store a network.
void check_length(ip_prefix_t const& prefix);
void check_length(ip_addr_mask_t const& mask);

std::ostream& operator<<(std::ostream&, ip_addr_t const&);
std::ostream& operator<<(std::ostream&, ip_prefix_t const&);

}  // namespace velm

template <>
struct std::hash<velm::ip_addr_t> {
   std::size_t operator()(velm::ip_addr_t const& address) const noexcept;
};
