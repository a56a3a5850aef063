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

using Json = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

bool isNumber(Report::Cell const& cell) { return std::holds_alternative<double>(cell); }

std::string text(Report::Cell const& cell, Report::Column const& column) {
   if (!isNumber(cell)) return std::get<std::string>(cell);
   return fmt::format("{:.{}f}", std::get<double>(cell), column.decimals);
}

void writeNumber(Json& json, char const* key, double number) {
   json.Key(key);
   if (std::isfinite(number)) {
      json.Double(number);
   } else {
      json.Null();  // a ratio to nothing, which JSON has no number for
   }
}

void writeText(Json& json, char const* key, std::string const& text) {
   json.Key(key);
   json.String(text.c_str());
}

void writeClaim(Json& json, Report::Claim const& claim) {
   json.StartObject();
   writeText(json, "what", claim.what);
   writeNumber(json, "figure", claim.figure);
   writeText(json, "unit", claim.unit);
   if (claim.ratio) {
      writeText(json, "ratio_to", claim.ratioTo);
      writeNumber(json, "ratio", claim.ratio->median);
      writeNumber(json, "ratio_low", claim.ratio->low);
      writeNumber(json, "ratio_high", claim.ratio->high);
   }
   if (claim.leastRatio) writeNumber(json, "goal_least_ratio", *claim.leastRatio);
   if (claim.mostFigure) writeNumber(json, "goal_most_figure", *claim.mostFigure);
   json.EndObject();
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
   Json json(buffer);
   json.StartObject();
   writeText(json, "benchmark", name_);
   writeText(json, "caption", caption_);
   for (auto const& [key, value] : facts_) writeNumber(json, key.c_str(), value);
   json.Key("rows");
   json.StartArray();
   for (auto const& row : rows_) {
      json.StartObject();
      for (std::size_t i = 0; i < columns_.size(); ++i) {
         auto const* const key = columns_[i].key.c_str();
         if (isNumber(row[i])) {
            writeNumber(json, key, std::get<double>(row[i]));
         } else {
            writeText(json, key, std::get<std::string>(row[i]));
         }
      }
      json.EndObject();
   }
   json.EndArray();
   json.Key("claims");
   json.StartArray();
   for (auto const& claim : claims_) writeClaim(json, claim);
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
