#include "platform/qor/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

// Texts come from clients and go to clients, whose protocol refuses what is not UTF-8: so nothing may cut a character
// in two, and bytes that are no character are shown as such and never passed on.
namespace Qor {
namespace {

/// A UTF-8 character at the front of a text; of size 0 if the bytes there are none.
struct Character {
   std::size_t size = 0;
   std::uint32_t code = 0;
};

/// A length of characters: what the first byte looks like, and the least code that is not to be written shorter.
struct Form {
   unsigned char mask;
   unsigned char lead;
   std::size_t size;
   std::uint32_t least;
};
constexpr std::array forms{Form{0x80, 0x00, 1, 0}, Form{0xe0, 0xc0, 2, 0x80}, Form{0xf0, 0xe0, 3, 0x800},
                           Form{0xf8, 0xf0, 4, 0x10000}};

bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; }

Character characterOf(std::string_view text) {
   auto const first = static_cast<unsigned char>(text.front());
   auto const* form = std::ranges::find_if(forms, [&](Form const& f) { return (first & f.mask) == f.lead; });
   if (form == forms.end() || form->size > text.size()) return {};
   std::uint32_t code = first & ~form->mask;
   for (char const byte : text.substr(1, form->size - 1)) {
      if (!continues(byte)) return {};
      code = code << 6U | (static_cast<unsigned char>(byte) & 0x3fU);
   }
   bool const isSurrogate = code >= 0xd800 && code <= 0xdfff;
   if (code < form->least || code > 0x10ffff || isSurrogate) return {};
   return {form->size, code};
}

bool isPrintable(Character character) {
   return character.size != 0 && character.code >= ' ' && (character.code < 0x7f || character.code >= 0xa0);
}

// Nearly every text is ASCII, and a folder may hold a million of them: eight bytes at a time.
bool isAscii(std::string_view text) {
   std::uint64_t bits = 0;
   std::uint64_t word = 0;
   for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
      std::memcpy(&word, text.data(), sizeof word);
      bits |= word;
   }
   for (char const byte : text) bits |= static_cast<unsigned char>(byte);
   return (bits & 0x8080808080808080U) == 0;
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

bool isUtf8(std::string_view text) {
   if (isAscii(text)) return true;
   while (!text.empty()) {
      auto const size = characterOf(text).size;
      if (size == 0) return false;
      text.remove_prefix(size);
   }
   return true;
}

std::string cutText(std::string_view text, std::size_t limit) {
   if (text.size() <= limit) return std::string(text);
   auto end = limit;
   // No character has more than three bytes after its first.
   while (end > 0 && limit - end < 3 && continues(text[end])) --end;
   return fmt::format("{}… ({} bytes more)", text.substr(0, end), text.size() - end);
}

void appendWithinLine(fmt::memory_buffer& line, std::string_view text, std::size_t limit) {
   auto const isPlain = [](char byte) { return byte >= ' ' && byte < 0x7f; };
   if (text.size() <= limit && std::ranges::all_of(text, isPlain)) return line.append(text);
   auto const end = line.size() + limit;
   while (!text.empty()) {
      auto const before = line.size();
      auto const character = characterOf(text);
      bool const printable = isPrintable(character);
      if (printable) {
         line.append(text.substr(0, character.size));
      } else {
         appendEscaped(line, text.front());
      }
      if (line.size() > end) {
         line.resize(before);
         fmt::format_to(fmt::appender(line), "… ({} bytes more)", text.size());
         return;
      }
      text.remove_prefix(printable ? character.size : 1);
   }
}

}  // namespace Qor
