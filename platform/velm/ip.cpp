#include "platform/velm/ip.h"

#include <absl/hash/hash.h>
#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ostream>

#include "platform/velm/errors.h"

// Addresses keep 16 bytes whatever their family, so that they are plain values. A length beyond the family can be
// built, because any request must be renderable before it is refused: constructors from bytes check nothing, those from
// text check everything, and managers call check_length. Rendering never throws; a family that is neither prints
// nothing.
namespace velm {
namespace {

unsigned bits(af_t af) { return static_cast<unsigned>(address_size(af) * 8); }

std::string withLength(ip_addr_t const& address, unsigned length) {
   return address.af() == af_t::none ? std::string() : fmt::format("{}/{}", address.to_string(), length);
}

std::pair<ip_addr_t, unsigned char> parseWithLength(std::string const& text) {
   auto const slash = text.find('/');
   unsigned length = 0;
   if (slash != std::string::npos) {
      auto const* end = text.data() + text.size();
      auto const [stop, failure] = std::from_chars(text.data() + slash + 1, end, length);
      if (failure == std::errc() && stop == end) {
         ip_addr_t const address(text.substr(0, slash));
         if (address.af() != af_t::none && length <= bits(address.af())) {
            return {address, static_cast<unsigned char>(length)};
         }
      }
   }
   throw invalid_argument_error(fmt::format("'{}' is not an address with a prefix length", text));
}

// The address without the bits beyond the length, byte by byte; a length beyond the family keeps them all.
ip_addr_t masked(ip_addr_t const& address, unsigned char length) {
   std::array<unsigned char, 16> bytes{};
   auto const size = address_size(address.af());
   std::copy_n(address.addr(), size, bytes.data());
   for (std::size_t i = 0; i < size; ++i) {
      auto const kept = std::clamp(static_cast<int>(length) - static_cast<int>(8 * i), 0, 8);
      bytes[i] &= static_cast<unsigned char>(0xff00 >> kept);
   }
   return {address.af(), bytes.data()};
}

template <class Network>
void checkLength(Network const& network, unsigned length) {
   if (length > bits(network.af())) {
      throw invalid_range_error(fmt::format("length {} of {} is beyond its address family", length,
                                            network.af() == af_t::none ? "a null network" : network.to_string()));
   }
}

}  // namespace

ip_addr_t::ip_addr_t(af_t af, unsigned char const* bytes) : af_(af) {
   std::copy_n(bytes, address_size(af), bytes_.data());
}

ip_addr_t::ip_addr_t(std::string const& text) {
   if (text.empty()) return;
   bool const v6 = text.find(':') != std::string::npos;
   af_ = v6 ? af_t::ipv6 : af_t::ipv4;
   if (inet_pton(v6 ? AF_INET6 : AF_INET, text.c_str(), bytes_.data()) != 1) {
      throw invalid_argument_error(fmt::format("'{}' is not an IP address", text));
   }
}

std::string ip_addr_t::to_string() const {
   if (address_size(af_) == 0) return {};
   std::array<char, INET6_ADDRSTRLEN> text;
   return inet_ntop(af_ == af_t::ipv6 ? AF_INET6 : AF_INET, bytes_.data(), text.data(), text.size());
}

ip_prefix_t::ip_prefix_t(ip_addr_t const& address, unsigned char length)
   : network_(masked(address, length)), length_(length) {}

ip_prefix_t::ip_prefix_t(std::string const& text) {
   auto const [address, length] = parseWithLength(text);
   *this = ip_prefix_t(address, length);
}

std::string ip_prefix_t::to_string() const { return withLength(network_, length_); }

ip_addr_mask_t::ip_addr_mask_t(std::string const& text) { std::tie(addr_, length_) = parseWithLength(text); }

std::string ip_addr_mask_t::to_string() const { return withLength(addr_, length_); }

eth_addr_t::eth_addr_t(unsigned char const* six_bytes) { std::copy_n(six_bytes, bytes_.size(), bytes_.data()); }

void eth_addr_t::bytes(void* to) const { std::memcpy(to, bytes_.data(), bytes_.size()); }

std::string eth_addr_t::to_string() const {
   return !*this ? std::string() : fmt::format("{:02x}", fmt::join(bytes_, ":"));
}

void check_length(ip_prefix_t const& prefix) { checkLength(prefix, prefix.prefix_length()); }
void check_length(ip_addr_mask_t const& mask) { checkLength(mask, mask.mask_length()); }

std::ostream& operator<<(std::ostream& os, ip_addr_t const& address) { return os << address.to_string(); }
std::ostream& operator<<(std::ostream& os, ip_prefix_t const& prefix) { return os << prefix.to_string(); }

}  // namespace velm

std::size_t std::hash<velm::ip_addr_t>::operator()(velm::ip_addr_t const& address) const noexcept {
   return absl::HashOf(address);
}
