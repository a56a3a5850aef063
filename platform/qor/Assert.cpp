#include "platform/qor/Assert.h"

#include <fmt/core.h>

#include <cstdio>
#include <cstdlib>

namespace Qor {

void assertionFailed(std::string_view text, std::source_location where) {
   // Straight to stderr: the trace has a thread of its own, which would not get to write it any more.
   fmt::print(stderr, "assertion failed: {} ({}:{} {})\n", text, fileStem(where.file_name()), where.line(),
              where.function_name());
   std::abort();
}

}  // namespace Qor
