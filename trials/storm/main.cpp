// Storms over an agent: every method, random requests, many connections, clients that cancel, dawdle and vanish.

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <random>

#include "trials/storm/Lethal.h"
#include "trials/storm/Storm.h"
#include "trials/storm/Vanisher.h"

namespace VelmSdkRpc::storm {
namespace {

struct CommandLine {
   Options options;
   bool lethal = false;
   std::string vanishFrom;
   bool calm = false;
};

void define(CLI::App& app, CommandLine& line) {
   auto& options = line.options;
   app.add_option("--agent", options.agent, "The agent's program")->capture_default_str();
   auto* const calls = app.add_option("--calls", options.calls, "How many calls to make");
   app.add_option("--seconds", options.seconds, "How long to make calls")->excludes(calls)->capture_default_str();
   app.add_option("--connections", options.connections, "How many clients call")->capture_default_str();
   app.add_option("--seed", options.seed, "Repeats the requests of another run; random if not given");
   app.add_option("--at-least", options.atLeast, "Calls that each method must have had");
   app.add_flag("--lethal", line.lethal, "Instead: each request that ends an agent by contract");
   app.add_option("--vanish-from", line.vanishFrom)->group("");
   app.add_flag("--calm", line.calm)->group("");
}

std::string repetition(CommandLine const& line, char const* program) {
   auto const& options = line.options;
   auto const length =
      options.calls > 0 ? fmt::format("--calls {}", options.calls) : fmt::format("--seconds {}", options.seconds);
   return fmt::format("{} --agent {} {} --connections {} --seed {}", program, options.agent,
                      line.lethal ? "--lethal" : length, options.connections, options.seed);
}

bool tell(Options const& options, Tally const& tally, Verdict const& verdict) {
   fmt::print("{}", tally.table());
   for (auto const& finding : verdict.findings) fmt::print("found: {}\n", finding);
   if (!verdict.words.empty()) fmt::print(stderr, "the agent wrote:\n{}\n", verdict.words);
   auto const atLeast = options.atLeast.value_or(tally.total() / tally.size() / 10);
   auto const below = tally.below(atLeast);
   if (!below.empty()) fmt::print("called less than {} times: {}\n", atLeast, below);
   bool const good = verdict.count == 0 && below.empty();
   fmt::print("{}: {} calls of {} methods in {:.1f} s, {} findings, seed {}\n", good ? "passed" : "FAILED",
              tally.total(), tally.size(), verdict.seconds, verdict.count, options.seed);
   return good;
}

int run(int argc, char** argv) {
   CommandLine line;
   line.options.agent = AGENT_PROGRAM;
   line.options.seed = std::random_device()() % 1000000;
   CLI::App app("Storms over an agent with random calls of all of its methods.", "storm");
   define(app, line);
   CLI11_PARSE(app, argc, argv);
   auto& options = line.options;
   if (!line.vanishFrom.empty()) {
      vanish(line.vanishFrom, line.calm ? Weather::calm : Weather::wild, options.seed);
      return 0;
   }
   if (options.calls == 0 && options.seconds == 0) options.seconds = 10;
   fmt::print("seed {}\n", options.seed);
   std::fflush(stdout);
   bool good = false;
   if (line.lethal) {
      good = runLethal(options.agent, options.seed);
   } else {
      Tally tally;
      auto const verdict = runStorm(options, tally);
      good = tell(options, tally, verdict);
   }
   if (!good) fmt::print("again: {}\n", repetition(line, argv[0]));
   return good ? 0 : 1;
}

}  // namespace
}  // namespace VelmSdkRpc::storm

int main(int argc, char** argv) { return VelmSdkRpc::storm::run(argc, argv); }
