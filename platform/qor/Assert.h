#pragma once

#include <source_location>
#include <string_view>

namespace Qor {

/// Ends the process with the assertion's text and place on stderr.
[[noreturn]] void assertionFailed(std::string_view text, std::source_location where = std::source_location::current());

/// A broken invariant, or a value that a schema forbids, ends the process. The text is what an operator will see.
inline void assertThat(bool holds, std::string_view text,
                       std::source_location where = std::source_location::current()) {
   if (!holds) [[unlikely]]
      assertionFailed(text, where);
}

/// The file name of a path without folder and suffix: "GrpcServer" for "agent/GrpcServer.cpp".
constexpr std::string_view fileStem(std::string_view path) {
   path.remove_prefix(path.rfind('/') + 1);
   return path.substr(0, path.find('.'));
}

}  // namespace Qor
