#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "bench/Rounds.h"

namespace VelmSdkRpc::Bench {

/// The outcome of a benchmark, as a table for people and as JSON for programs. Both show the same columns.
class Report {
 public:
   struct Column {
      std::string key;    // in JSON
      std::string title;  // in the table
      int decimals = 0;   // of numbers in the table; JSON has them in full
   };
   using Cell = std::variant<std::string, double>;

   /// What is claimed of one figure, for the report over all benchmarks. There is a goal for the ratio, which is to
   /// reach it, or for the figure, which is not to exceed it, or none.
   struct Claim {
      std::string what;  // was measured, with all that tells it from the benchmark's other claims
      double figure = 0;
      std::string unit{};
      std::optional<Spread> ratio{};  // better if higher
      std::string ratioTo = "floor";
      std::optional<double> leastRatio{};
      std::optional<double> mostFigure{};
   };

   /// `name` is the benchmark's, `caption` a line that says what was measured and how.
   Report(std::string name, std::string caption, std::vector<Column> columns)
      : name_(std::move(name)), caption_(std::move(caption)), columns_(std::move(columns)) {}

   /// A number that holds for the whole run: a size, a goal. Only JSON has it; the caption tells it to people.
   void fact(std::string key, double value) { facts_.emplace_back(std::move(key), value); }
   /// One cell for each column.
   void row(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }
   /// A line below the table.
   void note(std::string text) { notes_.push_back(std::move(text)); }
   /// Only JSON has it.
   void claim(Claim claim) { claims_.push_back(std::move(claim)); }

   /// Prints the table on stdout, and writes the JSON if a path is given. Throws std::runtime_error if it cannot.
   void publish(std::string const& jsonPath) const;

 private:
   std::string table() const;
   std::string json() const;

   std::string name_;
   std::string caption_;
   std::vector<Column> columns_;
   std::vector<std::pair<std::string, double>> facts_;
   std::vector<std::vector<Cell>> rows_;
   std::vector<std::string> notes_;
   std::vector<Claim> claims_;
};

}  // namespace VelmSdkRpc::Bench
