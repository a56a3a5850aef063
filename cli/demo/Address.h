#pragma once

#include <string>

namespace VelmSdkRpc::demo {

/// The address in network order: 4 bytes or 16. Throws std::invalid_argument for a text that is no address.
std::string addressBytes(std::string const& text);
/// The other way round. Throws std::invalid_argument for another number of bytes.
std::string addressText(std::string const& bytes);

}  // namespace VelmSdkRpc::demo
