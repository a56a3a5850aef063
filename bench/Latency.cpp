#include "bench/Latency.h"

// A percentile over all rounds is the figure; its ratio to a rival comes from pairs of rounds, as all ratios do, since
// two percentiles of different moments on a shared machine say nothing about each other.
namespace VelmSdkRpc::Bench {
namespace {

std::vector<Percentiles> percentilesOfEach(Rounds const& rounds) {
   std::vector<Percentiles> percentiles;
   for (auto const& times : rounds) percentiles.push_back(percentilesOf(times));
   return percentiles;
}

Percentiles percentilesOfAll(Rounds const& rounds) {
   Times all;
   for (auto const& times : rounds) all.insert(all.end(), times.begin(), times.end());
   return percentilesOf(std::move(all));
}

}  // namespace

void addLatency(Report& report, std::string const& what, Rounds const& own,
                std::vector<std::pair<std::string, Rounds const*>> const& rivals, Judged const& judged,
                std::vector<std::pair<std::string, double>> const& beside) {
   auto const all = percentilesOfAll(own);
   for (auto const part : {&Percentiles::p50, judged.part}) {
      auto const* const name = part == &Percentiles::p50 ? "p50" : part == &Percentiles::p99 ? "p99" : "longest";
      Report::Row row{.what = what + ", " + name, .figure = all.*part, .unit = "ms", .beside = beside};
      if (part == judged.part) {
         row.mostFigure = judged.most;
         row.beside.emplace_back("longest", all.max);
      }
      if (rivals.empty()) report.row(row);
      for (auto const& [to, times] : rivals) {
         row.ratio = {ratioOfPairs(percentilesOfEach(*times), percentilesOfEach(own), part), to};
         report.row(row);
         row.mostFigure = std::nullopt;  // is told once
      }
   }
}

}  // namespace VelmSdkRpc::Bench
