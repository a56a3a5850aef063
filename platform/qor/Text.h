#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Qor {

/// Whether the text is UTF-8. No client can read an answer with any other.
bool isUtf8(std::string_view text);

/// The text, or, where it has more than `limit` bytes, as many whole UTF-8 characters of it as fit into `limit` and
/// after them "… (n bytes more)". What was valid UTF-8 stays so.
std::string cutText(std::string_view text, std::size_t limit);

/// Appends the text in a form that stays within its line: control characters, and bytes that are no UTF-8, stand as
/// "\n" or "\x1b". Where that has more than `limit` bytes there are as many whole characters as fit, and after them
/// "… (n bytes more)".
void appendWithinLine(fmt::memory_buffer& line, std::string_view text, std::size_t limit);

}  // namespace Qor
