#include "clients/support/Address.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <charconv>
#include <stdexcept>

namespace VelmSdkRpc {
namespace {

constexpr std::size_t macSize = 6;

[[noreturn]] void refuse(std::string_view form, std::string_view text) {
   throw std::invalid_argument(fmt::format("expected {}, not \"{}\"", form, text));
}

// Empty for a text that is no address. A file of a million routes comes through here, so nothing is allocated for a
// text of IPv4, whose bytes fit into the string itself.
std::string parsed(std::string_view text) {
   std::array<char, INET6_ADDRSTRLEN> terminated{};
   if (text.size() >= terminated.size()) return {};
   text.copy(terminated.data(), text.size());
   bool const v6 = text.find(':') != std::string_view::npos;
   std::array<char, sizeof(in6_addr)> bytes{};
   if (inet_pton(v6 ? AF_INET6 : AF_INET, terminated.data(), bytes.data()) != 1) return {};
   return {bytes.data(), v6 ? sizeof(in6_addr) : sizeof(in_addr)};
}

}  // namespace

std::string addressBytes(std::string_view text) {
   auto bytes = parsed(text);
   if (bytes.empty()) refuse(addressForm, text);
   return bytes;
}

std::string addressText(std::string const& bytes) {
   bool const v6 = bytes.size() == sizeof(in6_addr);
   if (!v6 && bytes.size() != sizeof(in_addr)) {
      throw std::invalid_argument(fmt::format("expected an address of 4 or 16 bytes, not of {}", bytes.size()));
   }
   std::array<char, INET6_ADDRSTRLEN> text{};
   return inet_ntop(v6 ? AF_INET6 : AF_INET, bytes.data(), text.data(), text.size());
}

std::string macBytes(std::string_view text) {
   constexpr std::size_t width = 3;  // two digits and a colon
   if (text.size() != macSize * width - 1) refuse(macForm, text);
   std::string bytes;
   for (std::size_t i = 0; i < macSize; ++i) {
      char const* const digits = text.data() + i * width;
      unsigned byte = 0;
      auto const [end, error] = std::from_chars(digits, digits + 2, byte, 16);
      bool const separated = i + 1 == macSize || digits[2] == ':';
      if (error != std::errc() || end != digits + 2 || !separated) refuse(macForm, text);
      bytes.push_back(static_cast<char>(byte));
   }
   return bytes;
}

std::string macText(std::string const& bytes) {
   if (bytes.size() != macSize) {
      throw std::invalid_argument(fmt::format("expected a MAC address of 6 bytes, not of {}", bytes.size()));
   }
   std::array<unsigned char, macSize> octets{};
   for (std::size_t i = 0; i < macSize; ++i) octets[i] = static_cast<unsigned char>(bytes[i]);
   return fmt::format("{:02x}", fmt::join(octets, ":"));
}

Network networkOf(std::string_view text) {
   auto const slash = text.find('/');
   if (slash == std::string_view::npos) refuse(prefixForm, text);
   Network network{parsed(text.substr(0, slash)), 0};
   auto const digits = text.substr(slash + 1);
   auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), network.length);
   bool const isNumber = error == std::errc() && end == digits.data() + digits.size();
   if (network.address.empty() || !isNumber || network.length > network.address.size() * 8) refuse(prefixForm, text);
   return network;
}

}  // namespace VelmSdkRpc
