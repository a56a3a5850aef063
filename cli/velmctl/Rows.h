#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/support/Columns.h"
#include "cli/velmctl/Json.h"
#include "cli/velmctl/Terminal.h"

namespace VelmSdkRpc::ctl {

/// A table of objects, a row each: a column for each field that says something in one of the first rows. Those are kept
/// until it is known how wide the columns must be; the rows behind them go out as they come, with what has no column at
/// the end of the line.
class Rows {
 public:
   using Write = std::function<void(std::string_view)>;

   Rows(Terminal const& terminal, Write write) : terminal_(terminal), write_(std::move(write)) {}

   /// `name` is what a row is known by where its fields do not say so.
   void add(Json const& object, std::string_view name = {});
   /// Writes what is kept. The table is then complete.
   void end();

 private:
   using Cells = std::vector<std::pair<std::string, std::string>>;  // path and text
   static constexpr std::size_t rowsToMeasure = 1000;

   void begin();
   std::string line(Cells const& cells) const;
   Columns::Row row(Cells const& cells, std::string& rest) const;

   Terminal const& terminal_;
   Write write_;
   std::vector<Cells> kept_;
   std::vector<std::string> paths_;  // of the columns
   Columns columns_{0};              // once begun
   bool hasBegun_ = false;
};

}  // namespace VelmSdkRpc::ctl
