// Calls that program or read entries of one kind, one to a call or many, beside tables of several sizes: the agent
// beside the floor, beside itself with the smallest table, and beside another build of itself.
//
//    --sizes 10000 1000000 --floor F --against B   --->   floor; agent 10000; B 10000; agent 1000000; B 1000000
//
// All of them are alive at once and take their turns in every round, so that what disturbs the machine disturbs them
// all. A subject's row says what is called and what its goals are; goals are for the largest table alone.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "bench/Contest.h"
#include "bench/Program.h"

namespace VelmSdkRpc::Bench {
namespace {

/// A method that can be measured, by name, with the figures that suit it.
struct Subject {
   char const* name;
   Kind kind;
   Requests (*single)(PlaceList const& places);  // none: the kind's own bulk
   std::size_t elements;                         // in a call
   std::size_t perRound;
   std::size_t outstanding;
   std::optional<double> ofFloor{};  // goal: the share of the floor's speed beside the largest table
   std::optional<double>
      ofSmallest{};  // goal: the share of the speed beside the smallest table that the largest leaves
   bool reads = false;
};

std::vector<Subject> subjects() {
   return {{"ip_route", ipRoutes(), routeCalls, 1, 20'000, 64, 0.85},
           {"ip_route_bulk", ipRoutes(), nullptr, bulkSize, 100'000, 4, 0.4},
           {"mpls_route_bulk", labels(), nullptr, bulkSize, 100'000, 4, {}, 0.8},
           {"nexthop_group_tunnel_bulk", tunnels(), nullptr, bulkSize, 100'000, 4, {}, 0.8},
           {"sbfd_echo_session_bulk", sessions(), nullptr, bulkSize, 16'000, 4},
           {"cbf_nexthop_group_redirect_bulk", redirects(), nullptr, 4'000, 4'000, 1},
           {"mirror.ip_route_set", mirrorRoutes(), mirrorRouteCalls, 1, 20'000, 64, 0.85},
           {"mirror.ip_route", mirrorRoutes(), mirrorRouteReads, 1, 20'000, 64, 0.85, {}, true},
           {"mirror.bulk_ip_route_set", mirrorRoutes(), nullptr, bulkSize, 100'000, 4, 0.4}};
}

struct Options {
   Builds builds;
   Subject subject;
   std::vector<std::size_t> sizes{1'000'000};
   std::vector<Order> orders{Order::ascending, Order::shuffled, Order::repeated};
   std::size_t rounds = 11;
   std::size_t perRound = 0;  // unless it is the subject's
   bool traced = false;
};

/// One agent, with who it is compared with, all by number.
struct Entrant {
   std::string where;  // in words
   std::size_t number;
   std::optional<std::size_t> smallest{};
   std::optional<std::size_t> other{};
   bool isLargest = false;
};

class CallsBenchmark {
 public:
   explicit CallsBenchmark(Options const& options)
      : options_(options),
        report_(options.subject.name,
                fmt::format("{} a round beside tables of {}, {} to a call, {} calls outstanding, {} rounds",
                            options.perRound, fmt::join(options.sizes, ", "), options.subject.elements,
                            options.subject.outstanding, options.rounds)),
        contest_({.kind = options.subject.kind,
                  .calls = callsOf(options.subject),
                  .changes = !options.subject.reads,
                  .elements = std::max(options.subject.elements, bulkSize),
                  .perRound = options.perRound,
                  .outstanding = options.subject.outstanding}) {}

   Report run() {
      enter();
      contest_.compare(options_.subject.reads ? Order::repeated : Order::ascending, 1);  // to warm up
      for (auto const order : options_.orders) {
         if (options_.subject.reads && order != Order::repeated) continue;
         tell(order, contest_.compare(order, options_.rounds));
      }
      return std::move(report_);
   }

 private:
   using Samples = std::vector<std::vector<Sample>>;

   static std::function<Requests(PlaceList const&)> callsOf(Subject const& subject) {
      if (subject.single != nullptr) return subject.single;
      return
         [add = subject.kind.add, elements = subject.elements](auto const& places) { return add(places, elements); };
   }

   void enter() {
      auto const& [agent, floor, against] = options_.builds;
      auto const largest = options_.sizes.back();
      if (!floor.empty()) floor_ = contest_.enterFloor(floor, largest);
      for (auto const size : options_.sizes) {
         Entrant entrant{.where = fmt::format("beside {}", size),
                         .number = contest_.enterAgent(agent, quietly(), size)};
         if (!against.empty()) entrant.other = contest_.enterAgent(against, quietly(), size);
         if (!entrants_.empty()) entrant.smallest = entrants_.front().number;
         entrant.isLargest = size == largest;
         entrants_.push_back(std::move(entrant));
      }
      if (options_.traced) entrants_.push_back({.where = "trace 1", .number = contest_.enterAgent(agent, {}, largest)});
   }

   void tell(Order order, Samples const& samples) {
      auto const& subject = options_.subject;
      for (auto const& entrant : entrants_) {
         auto const row = rowOf(order, entrant, samples);
         auto const isGoal = [&](auto const& goal) { return entrant.isLargest ? goal : std::nullopt; };
         if (floor_) tellRatio(row, samples, *floor_, entrant, "floor", isGoal(subject.ofFloor));
         if (entrant.smallest) {
            tellRatio(row, samples, *entrant.smallest, entrant, fmt::format("table of {}", options_.sizes.front()),
                      isGoal(subject.ofSmallest));
         }
         if (entrant.other) tellRatio(row, samples, *entrant.other, entrant, "the other build", {});
         if (!floor_ && !entrant.smallest && !entrant.other) report_.row(row);
      }
   }

   Report::Row rowOf(Order order, Entrant const& entrant, Samples const& samples) const {
      return {.what = fmt::format("{} {}, {}", nameOf(order), done(), entrant.where),
              .figure = rateOf(samples[entrant.number]),
              .unit = fmt::format("{}/s", done()),
              .beside = {{"CPU us", cpuOf(samples[entrant.number])}}};
   }

   void tellRatio(Report::Row row, Samples const& samples, std::size_t other, Entrant const& entrant, std::string to,
                  std::optional<double> goal) {
      row.beside.emplace_back("other's /s", rateOf(samples[other]));
      row.beside.emplace_back("other's CPU us", cpuOf(samples[other]));
      row.beside.emplace_back("CPU ratio",
                              ratioOfPairs(samples[other], samples[entrant.number], &Sample::cpuSeconds).median);
      row.ratio = {ratioOfPairs(samples[other], samples[entrant.number], &Sample::seconds), std::move(to)};
      row.leastRatio = goal;
      report_.row(std::move(row));
   }

   double rateOf(std::vector<Sample> const& samples) const {
      return static_cast<double>(options_.perRound) / median(each(samples, &Sample::seconds));
   }
   double cpuOf(std::vector<Sample> const& samples) const {
      return median(each(samples, &Sample::cpuSeconds)) / static_cast<double>(options_.perRound) * 1e6;
   }
   char const* done() const { return options_.subject.reads ? "reads" : "adds"; }

   Options const& options_;
   Report report_;
   Contest contest_;
   std::optional<std::size_t> floor_;
   std::vector<Entrant> entrants_;
};

}  // namespace

void addCalls(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto const kinds = std::make_shared<std::vector<Subject>>(subjects());
   auto const kind = std::make_shared<std::string>();
   auto& command = addBenchmark(program, "calls", "Calls that program or read entries of one kind", [=] {
      options->subject = *std::ranges::find(*kinds, *kind, &Subject::name);
      if (options->perRound == 0) options->perRound = options->subject.perRound;
      std::ranges::sort(options->sizes);
      return CallsBenchmark(*options).run();
   });
   std::vector<std::string> names;
   for (auto const& subject : *kinds) names.emplace_back(subject.name);
   std::map<std::string, Order> orders;
   for (auto const order : options->orders) orders.emplace(nameOf(order), order);
   addBuilds(command, options->builds);
   command.add_option("--kind", *kind, "What is called")->required()->check(CLI::IsMember(names));
   addCount(command, "--sizes", options->sizes, "Entries in an agent's table; one agent for each");
   command.add_option("--order", options->orders, "Which keys are asked for; repeatable")
      ->transform(CLI::CheckedTransformer(orders))
      ->option_text("ascending|shuffled|repeated ...");
   addCount(command, "--rounds", options->rounds, "Rounds");
   addCount(command, "--adds", options->perRound, "Entries that each server is asked for in a round");
   command.add_flag("--traced", options->traced, "The agent beside itself with its default traces, too");
}

}  // namespace VelmSdkRpc::Bench
