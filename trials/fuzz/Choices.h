#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string_view>
#include <utility>

namespace VelmSdkRpc::fuzz {

/// The fuzzer's bytes as a sequence of choices: each takes as few bytes as its bound needs, so that a change of one
/// byte changes one choice. After their end every choice is 0.
class Choices {
 public:
   Choices(std::uint8_t const* data, std::size_t size) : rest_(reinterpret_cast<char const*>(data), size) {}

   bool atEnd() const { return rest_.empty(); }
   std::uint32_t upTo(std::uint32_t bound) {
      std::uint32_t number = 0;
      for (char const byte : take(bound <= 256 ? 1 : bound <= 65536 ? 2 : 4)) {
         number = number << 8U | static_cast<unsigned char>(byte);
      }
      return number % bound;
   }
   /// As many of the bytes as are left.
   std::string_view take(std::size_t count) {
      auto const bytes = rest_.substr(0, count);
      rest_.remove_prefix(bytes.size());
      return bytes;
   }
   std::string_view rest() { return take(rest_.size()); }
   /// For an AnyMessage that makes its choices by these.
   std::function<std::uint32_t(std::uint32_t)> draw() {
      return [this](std::uint32_t bound) { return upTo(bound); };
   }
   template <class List>
   auto const& oneOf(List const& list) {
      return *(std::begin(list) + upTo(static_cast<std::uint32_t>(std::size(list))));
   }

 private:
   std::string_view rest_;
};

/// Ends the process with the text, which is a finding, where something does not hold.
template <class... Args>
void expect(bool holds, fmt::format_string<Args...> text, Args&&... args) {
   if (holds) return;
   fmt::print(stderr, "finding: {}\n", fmt::format(text, std::forward<Args>(args)...));
   std::abort();
}

}  // namespace VelmSdkRpc::fuzz
