#include "convert/BoundaryCheck.h"

#include <fmt/format.h>

#include <utility>

#include "platform/velm/errors.h"

namespace VelmSdkRpc {

// The format is one of this program's own, never a client's text.
template <class To, class From>
To boundaryCheck(From value, std::string_view format) {
   if (!std::in_range<To>(value)) throw velm::invalid_argument_error(fmt::format(fmt::runtime(format), value));
   return static_cast<To>(value);
}

template unsigned char boundaryCheck(unsigned int value, std::string_view format);
template unsigned short boundaryCheck(unsigned int value, std::string_view format);

}  // namespace VelmSdkRpc
