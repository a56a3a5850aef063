#include "clients/support/SwitchTable.h"

#include <absl/strings/str_split.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <rapidjson/pointer.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

// How rows come out of an answer:
//
//    {"nexthop_groups": {"north": {"version": 1, "active": true, "nexthops": {"0": {"intf": "Ethernet1"}}}}}
//
//    elements "/nexthop_groups", cells "/version /active", members "/nexthops", memberCells "/intf"
//    ---> north | 1 | yes | 0 | Ethernet1
//
// A pointer that leads nowhere is an error and no empty cell: a table that shows less than it should would hide a
// fault.
namespace VelmSdkRpc {
namespace {

using Json = rapidjson::Value;
using Row = Columns::Row;

Json const& at(Json const& json, std::string_view path) {
   if (path == "*") return json;
   auto const* const found = rapidjson::Pointer(path.data(), path.size()).Get(json);
   if (found == nullptr) throw std::runtime_error(fmt::format("the switch's answer has no {}", path));
   return *found;
}

std::string cellOf(Json const& value) {
   if (value.IsString()) return value.GetString();
   if (value.IsBool()) return value.GetBool() ? "yes" : "no";
   if (value.IsUint64()) return std::to_string(value.GetUint64());
   if (!value.IsArray()) throw std::runtime_error("the switch's answer has an unexpected value");
   std::vector<std::string> parts;
   for (auto const& part : value.GetArray()) parts.push_back(cellOf(part));
   return fmt::format("{}", fmt::join(parts, " "));
}

Row with(Row row, Json const& json, char const* paths) {
   for (auto const path : absl::StrSplit(paths, ' ', absl::SkipEmpty())) {
      row.push_back(cellOf(at(json, {path.data(), path.size()})));
   }
   return row;
}

template <class Do>
void forEach(Json const& json, Row const& begun, Do const& act) {
   if (json.IsArray()) {
      for (auto const& element : json.GetArray()) act(begun, element);
   } else if (json.IsObject()) {
      for (auto const& [name, value] : json.GetObject()) {
         auto row = begun;
         row.emplace_back(name.GetString());
         act(row, value);
      }
   } else {
      throw std::runtime_error("the switch's answer has neither a list nor an object");
   }
}

}  // namespace

SwitchTable::Rows SwitchTable::rows(SwitchConsole const& console) const {
   Rows rows;
   auto const json = console.showJson(command);
   forEach(at(json, elements), {}, [&](Row const& begun, Json const& element) {
      auto const row = with(begun, element, cells);
      if (members == nullptr) return rows.push_back(row);
      forEach(at(element, members), row,
              [&](Row const& owner, Json const& member) { rows.push_back(with(owner, member, memberCells)); });
   });
   return rows;
}

std::string SwitchTable::textOf(Rows const& rows, std::string const& indent, std::size_t most) const {
   auto const shown = std::min(rows.size(), most);
   std::vector<std::string> const names = absl::StrSplit(headings, '|');
   Rows lines{names, Row(names.size())};
   lines.insert(lines.end(), rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(shown));
   Columns columns(names.size());
   for (auto const& line : lines) columns.widen(line);
   for (std::size_t i = 0; i < names.size(); ++i) lines[1][i].assign(columns.width(i), '-');
   std::string text;
   for (auto const& line : lines) text += fmt::format("{}{}\n", indent, columns.line(line));
   return shown == rows.size() ? text : text + fmt::format("{}… and {} more\n", indent, rows.size() - shown);
}

std::vector<std::string> linesOf(SwitchTable::Rows rows) {
   std::vector<std::string> lines;
   for (auto& cells : rows) {
      std::erase(cells, "");
      lines.push_back(fmt::format("{}", fmt::join(cells, " ")));
   }
   std::ranges::sort(lines);
   return lines;
}

}  // namespace VelmSdkRpc
