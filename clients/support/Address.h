#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Addresses as people write them and as the schemas carry them: bare bytes in network order.
namespace VelmSdkRpc {

/// 4 bytes or 16. Throws std::invalid_argument for a text that is no address.
std::string addressBytes(std::string const& text);
/// The other way round. Throws std::invalid_argument for another number of bytes.
std::string addressText(std::string const& bytes);

/// Six bytes of "00:1c:73:00:00:01". Throws std::invalid_argument for any other text.
std::string macBytes(std::string const& text);
/// Throws std::invalid_argument for another number of bytes.
std::string macText(std::string const& bytes);

struct Network {
   std::string address;  // as of addressBytes
   unsigned length;      // in bits, within the family
};

/// Of "10.0.0.0/8"; bits behind the length may be set. Throws std::invalid_argument for a text that is no prefix.
Network networkOf(std::string_view text);

}  // namespace VelmSdkRpc
