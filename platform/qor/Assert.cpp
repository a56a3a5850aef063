#include "platform/qor/Assert.h"

#include <fmt/core.h>

#include <cstdio>
#include <cstdlib>

#include "platform/pesko/TraceOutput.h"

namespace Qor {

void assertionFailed(std::string_view text, std::source_location where) {
   Pesko::TraceOutput::instance().flush();
   fmt::print(stderr, "assertion failed: {} ({}:{} {})\n", text, fileStem(where.file_name()), where.line(),
              where.function_name());
   std::abort();
}

}  // namespace Qor
