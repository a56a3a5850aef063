#pragma once

#include <cstddef>
#include <ostream>
#include <string>

namespace Qor {

/// A text value. Set as a whole, never changed in part.
template <class Char>
class StringBase {
 public:
   using IteratorConst = typename std::basic_string<Char>::const_iterator;

   StringBase() = default;
   StringBase(Char const* text) : text_(text) {}                         // NOLINT(google-explicit-constructor)
   StringBase(std::basic_string<Char> text) : text_(std::move(text)) {}  // NOLINT(google-explicit-constructor)
   StringBase(Char const* text, std::size_t length) : text_(text, length) {}

   /// Ends with a zero, and may hold others.
   Char const* charPtr() const { return text_.c_str(); }
   std::basic_string<Char> const& stdString() const { return text_; }

   IteratorConst begin() const { return text_.begin(); }
   IteratorConst end() const { return text_.end(); }

   bool operator==(StringBase const&) const = default;

 private:
   std::basic_string<Char> text_;
};

template <class Char>
std::basic_ostream<Char>& operator<<(std::basic_ostream<Char>& out, StringBase<Char> const& text) {
   return out << text.stdString();
}

using String = StringBase<char>;

}  // namespace Qor
