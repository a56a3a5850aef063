#include "cli/velmctl/Rows.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "cli/velmctl/Readable.h"

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
   if (!name.empty()) cells.emplace_back(namePath, name);
   for (auto const& [path, value] : fieldsOf(object)) {
      bool const isToldAlready = !name.empty() && path == namePath;
      if (!isToldAlready && !isDefault(*value)) cells.emplace_back(path, readable(*value));
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
   for (auto const& cells : kept_) {
      for (auto const& [path, text] : cells) {
         if (std::ranges::find(paths_, path) == paths_.end()) paths_.push_back(path);
      }
   }
   hasBegun_ = true;
   columns_ = Columns(paths_.size());
   auto headings = headingsOf(paths_);
   std::ranges::transform(headings, headings.begin(), inCapitals);
   columns_.widen(headings);
   std::string rest;
   for (auto const& cells : kept_) columns_.widen(row(cells, rest));
   if (terminal_.width() > 0) columns_.fit(terminal_.width());
   if (!kept_.empty()) write_(terminal_.bold(columns_.line(headings)) + "\n");
   for (auto const& cells : kept_) write_(line(cells));
   kept_.clear();
}

Columns::Row Rows::row(Cells const& cells, std::string& rest) const {
   Columns::Row row(paths_.size());
   for (auto const& [path, text] : cells) {
      auto const column = std::ranges::find(paths_, path);
      if (column == paths_.end()) {
         rest += fmt::format("  {}={}", path, text);
      } else {
         row[static_cast<std::size_t>(column - paths_.begin())] = text;
      }
   }
   return row;
}

std::string Rows::line(Cells const& cells) const {
   std::string rest;
   auto const cellsInOrder = row(cells, rest);
   return columns_.line(cellsInOrder) + rest + "\n";
}

}  // namespace VelmSdkRpc::ctl
