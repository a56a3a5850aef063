#include "platform/qor/Text.h"

#include <fmt/format.h>

namespace Qor {
namespace {

bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; }

}  // namespace

std::string cutText(std::string_view text, std::size_t limit) {
   if (text.size() <= limit) return std::string(text);
   auto end = limit;
   // No character has more than three bytes behind its first.
   while (end > 0 && limit - end < 3 && continues(text[end])) --end;
   return fmt::format("{}… ({} bytes more)", text.substr(0, end), text.size() - end);
}

}  // namespace Qor
