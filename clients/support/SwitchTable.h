#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "clients/support/Columns.h"
#include "clients/support/SwitchConsole.h"

namespace VelmSdkRpc {

/// A part of what a `show` command answers, as rows of text: one for each element, with the cells that JSON pointers
/// find in it; or one for each of an element's members, with cells of both. Of an object a row begins with the member's
/// name.
struct SwitchTable {
   using Rows = std::vector<Columns::Row>;

   char const* command;
   char const* headings;  // for people, parted by |
   char const* elements;  // where they are; a list or an object
   char const* cells;     // parted by blanks; "*" is the whole element
   char const* members = nullptr;
   char const* memberCells = "";

   /// In the switch's order. Throws std::runtime_error if the command fails or shows something else.
   Rows rows(SwitchConsole const& console) const;
   /// The first rows below the headings, each line after the indent; a last line tells how many are left out.
   std::string textOf(Rows const& rows, std::string const& indent, std::size_t most) const;
};

/// Rows as text, sorted: their cells that are not empty, parted by blanks.
std::vector<std::string> linesOf(SwitchTable::Rows rows);

}  // namespace VelmSdkRpc
