#pragma once

#include <fmt/format.h>

#include <cstdint>

namespace Pesko {

/// A pointer in a trace: "0x" and 16 digits, or "NULL".
struct DisplayPointer {
   explicit DisplayPointer(void const* pointer) : pointer(pointer) {}
   void const* pointer;
};

}  // namespace Pesko

template <>
struct fmt::formatter<Pesko::DisplayPointer> {
   static constexpr auto parse(format_parse_context& context) { return context.begin(); }
   static auto format(Pesko::DisplayPointer value, format_context& context) {
      if (value.pointer == nullptr) return format_to(context.out(), "NULL");
      return format_to(context.out(), "{:#0{}x}", reinterpret_cast<std::uintptr_t>(value.pointer), 18);
   }
};
