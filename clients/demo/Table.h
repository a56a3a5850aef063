#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace VelmSdkRpc::demo {

/// Rows of text in columns as wide as they need be.
class Table {
 public:
   using Row = std::vector<std::string>;

   explicit Table(Row headings) : headings_(std::move(headings)) {}

   /// One cell for each heading.
   void add(Row row) { rows_.push_back(std::move(row)); }

   /// Headings and the first rows, each line behind `indent`; a last line says how many rows are not shown.
   std::string text(std::string_view indent, std::size_t maxRows = 10) const;

 private:
   Row headings_;
   std::vector<Row> rows_;
};

}  // namespace VelmSdkRpc::demo
