#include "convert/Enums.h"

#include <fmt/format.h>

namespace VelmSdkRpc::types {

template <class Error>
void refuse(char const* text, int number) {
   throw Error(fmt::format(fmt::runtime(text), number));
}

template void refuse<velm::invalid_argument_error>(char const*, int);
template void refuse<velm::unsupported_error>(char const*, int);

}  // namespace VelmSdkRpc::types
