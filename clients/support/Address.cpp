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

[[noreturn]] void refuse(char const* expected, std::string_view text) {
   throw std::invalid_argument(fmt::format("not {}: {}", expected, text));
}

}  // namespace

std::string addressBytes(std::string const& text) {
   bool const v6 = text.find(':') != std::string::npos;
   std::array<char, sizeof(in6_addr)> bytes{};
   if (inet_pton(v6 ? AF_INET6 : AF_INET, text.c_str(), bytes.data()) != 1) refuse("an IP address", text);
   return {bytes.data(), v6 ? sizeof(in6_addr) : sizeof(in_addr)};
}

std::string addressText(std::string const& bytes) {
   bool const v6 = bytes.size() == sizeof(in6_addr);
   if (!v6 && bytes.size() != sizeof(in_addr)) {
      throw std::invalid_argument(fmt::format("an IP address of {} bytes", bytes.size()));
   }
   std::array<char, INET6_ADDRSTRLEN> text{};
   return inet_ntop(v6 ? AF_INET6 : AF_INET, bytes.data(), text.data(), text.size());
}

std::string macBytes(std::string const& text) {
   constexpr std::size_t width = 3;  // two digits and a colon
   if (text.size() != macSize * width - 1) refuse("a MAC address", text);
   std::string bytes;
   for (std::size_t i = 0; i < macSize; ++i) {
      char const* const digits = text.data() + i * width;
      unsigned byte = 0;
      auto const [end, error] = std::from_chars(digits, digits + 2, byte, 16);
      bool const separated = i + 1 == macSize || digits[2] == ':';
      if (error != std::errc() || end != digits + 2 || !separated) refuse("a MAC address", text);
      bytes.push_back(static_cast<char>(byte));
   }
   return bytes;
}

std::string macText(std::string const& bytes) {
   if (bytes.size() != macSize) throw std::invalid_argument(fmt::format("a MAC address of {} bytes", bytes.size()));
   std::array<unsigned char, macSize> octets{};
   for (std::size_t i = 0; i < macSize; ++i) octets[i] = static_cast<unsigned char>(bytes[i]);
   return fmt::format("{:02x}", fmt::join(octets, ":"));
}

Network networkOf(std::string_view text) {
   auto const slash = text.find('/');
   if (slash == std::string_view::npos) refuse("a prefix", text);
   Network network{addressBytes(std::string(text.substr(0, slash))), 0};
   auto const digits = text.substr(slash + 1);
   auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), network.length);
   if (error != std::errc() || end != digits.data() + digits.size() || network.length > network.address.size() * 8) {
      refuse("a prefix", text);
   }
   return network;
}

}  // namespace VelmSdkRpc
