#pragma once

#include <string_view>

#include "platform/qor/Runtime.h"

namespace Brel {

/// The runtime's address of either family, or none: 4, 16 or 0 bytes in network order.
class IpGenAddr {
 public:
   IpGenAddr() = default;
   explicit IpGenAddr(std::string_view bytes) : bytes_(bytes) {}
   Qor::Bytes const& bytes() const { return bytes_; }

 private:
   Qor::Bytes bytes_;
};

}  // namespace Brel
