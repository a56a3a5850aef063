#include "clients/velmctl/Rows.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "clients/velmctl/Readable.h"

// A table can be a million rows long and is written while it comes. Its columns are settled by the first thousand rows:
// if all that says something fits into the terminal, flags and zeros get columns, too; else only what says something,
// cut to the width.

namespace VelmSdkRpc::ctl {
namespace {

constexpr auto namePath = "name";

std::string inCapitals(std::string text) {
   std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::toupper(c); });
   return text;
}

}  // namespace

void Rows::add(Json const& object, std::string_view name) {
   Cells cells;
   if (!name.empty()) cells.push_back({namePath, std::string(name), Weight::column});
   for (auto const& [path, value] : fieldsOf(object)) {
      if (!name.empty() && path == namePath) continue;  // told already
      bool const isPlain = !isNested(path) && (value->IsBool() || value->IsNumber());
      auto const weight = isPlain ? Weight::wherePossible : Weight::none;
      cells.push_back({path, readable(*value), isDefault(*value) ? weight : Weight::column});
   }
   if (hasBegun_) {
      write_(line(cells));
      return;
   }
   kept_.push_back(std::move(cells));
   if (kept_.size() == rowsToMeasure) begin();
}

void Rows::end() {
   if (!hasBegun_) begin();
}

void Rows::begin() {
   hasBegun_ = true;
   auto const room = terminal_.width();
   paths_ = pathsOf(Weight::wherePossible);
   auto headings = measure();
   if (room > 0 && columns_.width() > room) {
      paths_ = pathsOf(Weight::column);
      headings = measure();
      columns_.fit(room);
   }
   if (!kept_.empty()) write_(terminal_.bold(columns_.line(headings)) + "\n");
   for (auto const& cells : kept_) write_(line(cells));
   kept_.clear();
}

/// The paths of the columns that cells of at least that weight ask for.
std::vector<Path> Rows::pathsOf(Weight least) const {
   std::vector<Path> paths;
   for (auto const& cells : kept_) {
      for (auto const& cell : cells) {
         bool const isNew = std::ranges::find(paths, cell.path) == paths.end();
         if (cell.weight >= least && isNew) paths.push_back(cell.path);
      }
   }
   return paths;
}

/// Makes the columns as wide as their headings, which it gives, and the rows kept.
Columns::Row Rows::measure() {
   columns_ = Columns(paths_.size());
   auto headings = headingsOf(paths_);
   std::ranges::transform(headings, headings.begin(), inCapitals);
   columns_.widen(headings);
   std::string rest;
   for (auto const& cells : kept_) columns_.widen(row(cells, rest));
   return headings;
}

Columns::Row Rows::row(Cells const& cells, std::string& rest) const {
   Columns::Row row(paths_.size());
   for (auto const& cell : cells) {
      auto const column = std::ranges::find(paths_, cell.path);
      if (column != paths_.end()) {
         row[static_cast<std::size_t>(column - paths_.begin())] = cell.text;
      } else if (cell.weight == Weight::column) {
         rest += fmt::format("  {}={}", headingsOf({cell.path}).front(), cell.text);
      }
   }
   return row;
}

// Cells that have no column, because their field came up after the columns were settled, follow with their names.
std::string Rows::line(Cells const& cells) const {
   std::string rest;
   auto const cellsInOrder = row(cells, rest);
   return columns_.line(cellsInOrder) + rest + "\n";
}

}  // namespace VelmSdkRpc::ctl
