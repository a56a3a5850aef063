#include "platform/qor/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Qor {
namespace {

bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; }

// The size of the character that the text begins with; 0 where that is a control character, or none at all.
std::size_t printableSize(std::string_view text) {
   static constexpr std::array<std::uint32_t, 5> least{0, ' ', 0xa0, 0x800, 0x10000};
   auto const first = static_cast<unsigned char>(text.front());
   std::size_t const size = first < 0x7fU ? 1 : first < 0xc0U ? 0 : first < 0xe0U ? 2 : first < 0xf0U ? 3 : 4;
   if (size == 0 || first > 0xf4U || size > text.size()) return 0;
   std::uint32_t code = size == 1 ? first : first & (0x7fU >> size);
   for (auto const byte : text.substr(1, size - 1)) {
      if (!continues(byte)) return 0;
      code = code << 6U | (static_cast<unsigned char>(byte) & 0x3fU);
   }
   bool const isSurrogate = code >= 0xd800 && code < 0xe000;
   return code < least[size] || isSurrogate || code > 0x10ffff ? 0 : size;
}

void appendEscaped(fmt::memory_buffer& line, char byte) {
   auto const out = fmt::appender(line);
   switch (byte) {
      case '\n': fmt::format_to(out, "\\n"); break;
      case '\r': fmt::format_to(out, "\\r"); break;
      case '\t': fmt::format_to(out, "\\t"); break;
      default: fmt::format_to(out, "\\x{:02x}", static_cast<unsigned char>(byte));
   }
}

}  // namespace

std::string cutText(std::string_view text, std::size_t limit) {
   if (text.size() <= limit) return std::string(text);
   auto end = limit;
   // No character has more than three bytes behind its first.
   while (end > 0 && limit - end < 3 && continues(text[end])) --end;
   return fmt::format("{}… ({} bytes more)", text.substr(0, end), text.size() - end);
}

void appendWithinLine(fmt::memory_buffer& line, std::string_view text, std::size_t limit) {
   auto const isPlain = [](char byte) { return byte >= ' ' && byte < 0x7f; };
   if (text.size() <= limit && std::ranges::all_of(text, isPlain)) return line.append(text);
   auto const end = line.size() + limit;
   while (!text.empty()) {
      auto const before = line.size();
      auto const size = printableSize(text);
      if (size != 0) {
         line.append(text.substr(0, size));
      } else {
         appendEscaped(line, text.front());
      }
      if (line.size() > end) {
         line.resize(before);
         fmt::format_to(fmt::appender(line), "… ({} bytes more)", text.size());
         return;
      }
      text.remove_prefix(std::max<std::size_t>(size, 1));
   }
}

}  // namespace Qor
