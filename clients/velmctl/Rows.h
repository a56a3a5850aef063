#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "clients/support/Columns.h"
#include "clients/velmctl/Json.h"
#include "clients/velmctl/Readable.h"
#include "clients/velmctl/Terminal.h"

namespace VelmSdkRpc::ctl {

/// A table of objects, a row each, with a column for each field that says something in one of the first rows, and for
/// numbers and flags that say 0 or false if there is room. Those rows are kept until it is known how wide the columns
/// must be; later ones go out as they come, with what has no column at the end of the line.
class Rows {
 public:
   using Write = std::function<void(std::string_view)>;

   Rows(Terminal const& terminal, Write write) : terminal_(terminal), write_(std::move(write)) {}

   /// `name` is what a row is known by where its fields do not say so.
   void add(Json const& object, std::string_view name = {});
   /// Writes what is kept. The table is then complete.
   void end();

 private:
   enum class Weight { none, wherePossible, column };  // of the cell's value
   struct Cell {
      Path path;
      std::string text;
      Weight weight;
   };
   using Cells = std::vector<Cell>;
   static constexpr std::size_t rowsToMeasure = 1000;

   void begin();
   std::vector<Path> pathsOf(Weight least) const;
   Columns::Row measure();
   std::string line(Cells const& cells) const;
   Columns::Row row(Cells const& cells, std::string& rest) const;

   Terminal const& terminal_;
   Write write_;
   std::vector<Cells> kept_;
   std::vector<Path> paths_;  // of the columns
   Columns columns_{0};       // once begun
   bool hasBegun_ = false;
};

}  // namespace VelmSdkRpc::ctl
