#include "cli/demo/Table.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace VelmSdkRpc::demo {

std::string Table::text(std::string_view indent, std::size_t maxRows) const {
   std::size_t const shown = std::min(rows_.size(), maxRows);
   std::vector<Row> lines{headings_, Row(headings_.size())};
   lines.insert(lines.end(), rows_.begin(), rows_.begin() + static_cast<std::ptrdiff_t>(shown));

   std::vector<std::size_t> widths(headings_.size());
   for (auto const& line : lines) {
      for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
   }
   for (std::size_t i = 0; i < widths.size(); ++i) lines[1][i].assign(widths[i], '-');

   std::string text;
   for (auto const& line : lines) {
      text += indent;
      // The last column is not padded: no line ends in blanks.
      for (std::size_t i = 0; i + 1 < widths.size(); ++i) {
         fmt::format_to(std::back_inserter(text), "{:<{}}  ", line[i], widths[i]);
      }
      text += line.back() + '\n';
   }
   if (shown < rows_.size())
      fmt::format_to(std::back_inserter(text), "{}… and {} more\n", indent, rows_.size() - shown);
   return text;
}

}  // namespace VelmSdkRpc::demo
