#pragma once

#include <string>
#include <string_view>

/// Addresses as people write them and as the schemas carry them: bare bytes in network order.
///
/// Whatever throws here throws std::invalid_argument, whose text says what was expected, with an example, and what was
/// found: expected a prefix like "10.0.0.0/8", not "10.0.0/8".
namespace VelmSdkRpc {

/// How the texts look, for whoever words a refusal himself.
inline constexpr std::string_view addressForm = R"(an address like "10.0.0.1" or "2001:db8::1")";
inline constexpr std::string_view macForm = R"(a MAC address like "00:1c:73:00:00:01")";
inline constexpr std::string_view prefixForm = R"(a prefix like "10.0.0.0/8")";

/// The 4 bytes of an IPv4 address, or the 16 of an IPv6 one. Throws for a text that is neither.
std::string addressBytes(std::string_view text);
/// The text of 4 or 16 bytes. Throws for another number of bytes.
std::string addressText(std::string const& bytes);

/// The 6 bytes of a MAC address of digits and colons. Throws for any other text.
std::string macBytes(std::string_view text);
/// The text of 6 bytes. Throws for another number of bytes.
std::string macText(std::string const& bytes);

struct Network {
   std::string address;  // 4 or 16 bytes
   unsigned length;      // in bits, within the family
};

/// Reads "10.0.0.0/8"; bits beyond the length may be set. Throws for a text that is no prefix.
Network networkOf(std::string_view text);

}  // namespace VelmSdkRpc
