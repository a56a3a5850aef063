#include "platform/switch/UnbuiltMgrs.h"

#include <fmt/format.h>

namespace velm::embedded {

void throwUnsupported(char const* operation) {
   throw unsupported_error(fmt::format("{} is not available on this switch", operation));
}

}  // namespace velm::embedded
