#include "bench/Report.h"

#include <fmt/format.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "clients/support/Columns.h"

// One row is told twice, for people and for the report over all benchmarks. No verdict is told: the script that makes
// the report judges all rows alike.
namespace VelmSdkRpc::Bench {
namespace {

using Json = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

// Digits that tell something: of large numbers none after the point, of small ones three.
std::string number(double value) {
   return std::abs(value) >= 100 ? fmt::format("{:.0f}", value) : fmt::format("{:.3g}", value);
}

Columns::Row cellsOf(Report::Row const& row) {
   std::string ratio;
   std::string goal;
   std::string beside;
   if (row.ratio) {
      auto const& [median, low, high] = row.ratio->spread;
      ratio = fmt::format("{:.2f} ({:.2f}-{:.2f}) of {}", median, low, high, row.ratio->to);
   }
   if (row.leastRatio) goal = fmt::format("at least {:.2f}", *row.leastRatio);
   if (row.mostFigure) goal = fmt::format("at most {} {}", number(*row.mostFigure), row.unit);
   for (auto const& [name, value] : row.beside) {
      beside += fmt::format("{}{} {}", beside.empty() ? "" : ", ", name, number(value));
   }
   return {"", row.what, fmt::format("{} {}", number(row.figure), row.unit), ratio, goal, beside};
}

void writeNumber(Json& json, std::string const& key, double number) {
   json.Key(key.c_str());
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

void writeRow(Json& json, Report::Row const& row) {
   json.StartObject();
   writeText(json, "what", row.what);
   writeNumber(json, "figure", row.figure);
   writeText(json, "unit", row.unit);
   if (row.ratio) {
      writeText(json, "ratio_to", row.ratio->to);
      writeNumber(json, "ratio", row.ratio->spread.median);
      writeNumber(json, "ratio_low", row.ratio->spread.low);
      writeNumber(json, "ratio_high", row.ratio->spread.high);
   }
   if (row.leastRatio) writeNumber(json, "goal_least_ratio", *row.leastRatio);
   if (row.mostFigure) writeNumber(json, "goal_most_figure", *row.mostFigure);
   json.Key("beside");
   json.StartObject();
   for (auto const& [name, value] : row.beside) writeNumber(json, name, value);
   json.EndObject();
   json.EndObject();
}

}  // namespace

std::string Report::table() const {
   Columns columns(6);
   for (auto const& row : rows_) columns.widen(cellsOf(row));
   auto text = fmt::format("{}: {}\n", name_, caption_);
   for (auto const& row : rows_) text += columns.line(cellsOf(row)) + "\n";
   return text;
}

std::string Report::json() const {
   rapidjson::StringBuffer buffer;
   Json json(buffer);
   json.StartObject();
   writeText(json, "caption", caption_);
   json.Key("rows");
   json.StartArray();
   for (auto const& row : rows_) writeRow(json, row);
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
