#include "bench/Report.h"

#include <fmt/format.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace VelmSdkRpc::Bench {
namespace {

bool isNumber(Report::Cell const& cell) { return std::holds_alternative<double>(cell); }

std::string text(Report::Cell const& cell, Report::Column const& column) {
   if (!isNumber(cell)) return std::get<std::string>(cell);
   return fmt::format("{:.{}f}", std::get<double>(cell), column.decimals);
}

}  // namespace

std::string Report::table() const {
   std::vector<std::string> lines(1 + rows_.size());
   for (std::size_t i = 0; i < columns_.size(); ++i) {
      std::vector<std::string> cells{columns_[i].title};
      for (auto const& row : rows_) cells.push_back(text(row[i], columns_[i]));
      auto const width = std::ranges::max(cells, {}, &std::string::size).size();
      bool const numbers = !rows_.empty() && isNumber(rows_.front()[i]);
      for (std::size_t j = 0; j < lines.size(); ++j) {
         lines[j] += numbers ? fmt::format("  {:>{}}", cells[j], width) : fmt::format("  {:<{}}", cells[j], width);
      }
   }
   return fmt::format("{}: {}\n{}\n{}\n", name_, caption_, fmt::join(lines, "\n"), fmt::join(notes_, "\n"));
}

std::string Report::json() const {
   rapidjson::StringBuffer buffer;
   rapidjson::PrettyWriter<rapidjson::StringBuffer> json(buffer);
   json.StartObject();
   json.Key("benchmark");
   json.String(name_.c_str());
   json.Key("caption");
   json.String(caption_.c_str());
   for (auto const& [key, value] : facts_) {
      json.Key(key.c_str());
      json.Double(value);
   }
   json.Key("rows");
   json.StartArray();
   for (auto const& row : rows_) {
      json.StartObject();
      for (std::size_t i = 0; i < columns_.size(); ++i) {
         json.Key(columns_[i].key.c_str());
         if (!isNumber(row[i])) {
            json.String(std::get<std::string>(row[i]).c_str());
         } else if (auto const number = std::get<double>(row[i]); std::isfinite(number)) {
            json.Double(number);
         } else {
            json.Null();  // a ratio to nothing, which JSON has no number for
         }
      }
      json.EndObject();
   }
   json.EndArray();
   json.EndObject();
   return buffer.GetString();
}

void Report::publish(std::string const& jsonPath) const {
   fmt::print("{}", table());
   std::fflush(stdout);
   if (jsonPath.empty()) return;
   std::ofstream file(jsonPath);
   file << json() << '\n';
   if (!file.flush()) throw std::runtime_error("cannot write " + jsonPath);
}

}  // namespace VelmSdkRpc::Bench
