#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/Rounds.h"

namespace VelmSdkRpc::Bench {

/// The outcome of a benchmark, as a table for people and as JSON for the report over all benchmarks.
class Report {
 public:
   /// A speed as a share of another one's: better if higher.
   struct Ratio {
      Spread spread;
      std::string to;  // whose
   };
   /// One figure. A goal, where there is one, is for the ratio, which is to reach it, or for the figure, which is not
   /// to exceed it.
   struct Row {
      std::string what;  // all that tells it from the benchmark's other rows
      double figure = 0;
      std::string unit;
      std::optional<Ratio> ratio{};
      std::optional<double> leastRatio{};
      std::optional<double> mostFigure{};
      std::vector<std::pair<std::string, double>> beside{};  // other figures, by name
   };

   /// `caption` says what was measured, and how.
   Report(std::string name, std::string caption) : name_(std::move(name)), caption_(std::move(caption)) {}

   void row(Row row) { rows_.push_back(std::move(row)); }

   /// Prints the table on stdout, and writes the JSON if a path is given. Throws std::runtime_error if it cannot.
   void publish(std::string const& jsonPath) const;

 private:
   std::string table() const;
   std::string json() const;

   std::string name_;
   std::string caption_;
   std::vector<Row> rows_;
};

}  // namespace VelmSdkRpc::Bench
