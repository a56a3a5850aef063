#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace VelmSdkRpc {

/// Rows of text in columns that are as wide as the widest row seen. A wider row that comes later pushes the rest of its
/// line to the right; where columns have been made to fit, it is cut.
class Columns {
 public:
   using Row = std::vector<std::string>;

   explicit Columns(std::size_t count) : widths_(count) {}

   /// Makes room for a row, which has a cell for every column.
   void widen(Row const& row);
   /// Takes room from the widest columns until a line has at most so many characters. From then on nothing is wider.
   void fit(std::size_t width);
   std::size_t width(std::size_t column) const { return widths_[column]; }
   /// The width of a line.
   std::size_t width() const;

   /// The row without a line feed and without blanks at its end. What is cut off leaves an ellipsis.
   std::string line(Row const& row) const;

 private:
   static constexpr std::string_view gap = "  ";

   std::vector<std::size_t> widths_;  // in characters
   bool fits_ = false;
};

/// The number of characters of a UTF-8 text.
std::size_t charactersOf(std::string_view text);

}  // namespace VelmSdkRpc
