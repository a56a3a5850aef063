#include "clients/demo/Table.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "clients/support/Columns.h"

namespace VelmSdkRpc::demo {

std::string Table::text(std::string_view indent, std::size_t maxRows) const {
   std::size_t const shown = std::min(rows_.size(), maxRows);
   std::vector<Row> lines{headings_, Row(headings_.size())};
   lines.insert(lines.end(), rows_.begin(), rows_.begin() + static_cast<std::ptrdiff_t>(shown));

   Columns columns(headings_.size());
   for (auto const& line : lines) columns.widen(line);
   for (std::size_t i = 0; i < headings_.size(); ++i) lines[1][i].assign(columns.width(i), '-');

   std::string text;
   for (auto const& line : lines) fmt::format_to(std::back_inserter(text), "{}{}\n", indent, columns.line(line));
   if (shown < rows_.size())
      fmt::format_to(std::back_inserter(text), "{}… and {} more\n", indent, rows_.size() - shown);
   return text;
}

}  // namespace VelmSdkRpc::demo
