#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Qor {

/// The text, or, where it has more than `limit` bytes, as many whole UTF-8 characters of it as fit into `limit` and
/// behind them "… (n bytes more)". What was valid UTF-8 stays so.
std::string cutText(std::string_view text, std::size_t limit);

}  // namespace Qor
