// The tries that the Linux dataplane's packets are looked up in, in memory that a BPF program reads: what a lookup
// costs there and in the agent, beside a read of memory at random, and what a route takes.

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <memory>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/LookupProgram.h"
#include "bench/Program.h"
#include "platform/linux/grace/KernelGrace.h"
#include "platform/linux/trie/Trie.h"

namespace VelmSdkRpc::Bench {
namespace {

namespace trie = velm::trie;
using trie::Bits;
using trie::Prefix;
using Random = std::mt19937_64;

constexpr std::size_t nodeBytes = std::size_t{192} << 20;
constexpr std::size_t goalsFrom = 1'000'000;  // routes
constexpr auto theRead = "a dependent read of 128 MiB";

struct Options {
   std::vector<std::size_t> sizes{10'000, 1'000'000};
   std::size_t rounds = 7;
};

/// Random networks of a length, which have `fixed` on top, and what is to be reached with a million of them.
struct Family {
   char const* name;
   unsigned bits;
   unsigned length;
   std::uint64_t fixed;
   unsigned fixedBits;
   double mostReads;
   double mostBytes;
};
constexpr Family families[] = {{"IPv4 /24", 32, 24, 0, 0, 1.5, 64},
                               {"IPv6 /48", 128, 48, std::uint64_t{1} << 61, 3, 2.5, 160}};

struct Times {
   double seconds = 0;
};

Times timeOf(auto const& work) {
   auto const now = [] {
      timespec time{};
      clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
      return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
   };
   auto const start = now();
   work();
   return {now() - start};
}

Bits maskOf(unsigned length) { return ~Bits{0} << (128 - length); }

std::vector<Prefix> routesOf(Family const& family, std::size_t count, Random& random) {
   std::vector<Prefix> routes;
   while (routes.size() < count) {
      while (routes.size() < count + 16) {
         auto const bits = trie::bitsOf(family.fixed | random() >> family.fixedBits, 0);
         routes.push_back({bits & maskOf(family.length), family.length});
      }
      std::ranges::sort(routes, {}, &Prefix::bits);
      auto const same = std::ranges::unique(routes, {}, &Prefix::bits);
      routes.erase(same.begin(), same.end());
   }
   std::ranges::shuffle(routes, random);
   routes.resize(count);
   return routes;
}

void set(trie::Memory& memory, trie::Trie& routes, std::span<Prefix const> prefixes) {
   constexpr std::size_t ahead = 16;
   for (std::size_t i = 0; i < prefixes.size(); ++i) {
      if (i % ahead == 0) routes.prefetch(prefixes.subspan(i, std::min(ahead, prefixes.size() - i)));
      if (!memory.reserve(1)) throw std::runtime_error("the memory is too small");
      routes.set(prefixes[i], leaf_word(LEAF_GROUP, static_cast<std::uint32_t>(i % 1000) + 1));
      memory.giveBack(1);
   }
}

void choose(std::span<LookupAddress> addresses, Family const& family, std::span<Prefix const> prefixes,
            Random& random) {
   auto const hosts = ~maskOf(family.length) & maskOf(family.bits);
   for (auto& address : addresses) {
      auto const bits = prefixes[random() % prefixes.size()].bits | (trie::bitsOf(random(), random()) & hosts);
      address = {trie::highOf(bits), trie::lowOf(bits)};
   }
}

/// Each lookup waits for the answer before it, as the program's do.
std::uint32_t lookUpHere(trie::Trie const& routes, std::span<LookupAddress const> addresses) {
   std::uint32_t sum = 0;
   std::uint32_t leaf = 0;
   for (std::size_t i = 0; i < addresses.size(); ++i) {
      auto const& address = addresses[(i + (leaf >> 31)) % addresses.size()];  // no leaf has that bit
      leaf = routes.find(trie::bitsOf(address.high, address.low));
      sum += leaf;
   }
   return sum;
}

/// The four that take turns, in seconds for as many steps as there are addresses.
enum Contender : std::size_t { programReads, programLooksUp, agentReads, agentLooksUp };

auto measure(LookupProgram const& program, trie::Trie const& routes, std::size_t rounds) {
   constexpr auto steps = LookupProgram::addressCount;
   std::uint32_t at = 0;
   std::uint32_t expected = 0;
   auto const turn = [&](std::size_t contender, std::size_t) {
      switch (contender) {
         case programReads: return Times{program.read() * 1e-9 * steps};
         case programLooksUp: return Times{program.lookUp() * 1e-9 * steps};
         case agentReads:
            return timeOf([&] {
               for (std::size_t i = 0; i < steps; ++i) at = program.reads()[at];
            });
         default: return timeOf([&] { expected += lookUpHere(routes, program.addresses()); });
      }
   };
   auto times = interleave(4, rounds, turn);
   if (program.sum() != expected) throw std::runtime_error("the program found other routes");
   if (at >= program.reads().size()) throw std::runtime_error("the reads went astray");
   return times;
}

void compare(Family const& family, std::size_t count, std::size_t rounds, Report& report) {
   Random random(count);
   auto const prefixes = routesOf(family, count, random);
   LookupProgram const program(trie::Memory::bytesFor(1, nodeBytes));
   velm::machine::KernelGrace const grace;
   velm::machine::GracePeriods periods([&] { grace.wait(); });
   trie::Memory memory(program.tries(), 1, periods);
   trie::Trie routes(memory, program.root(), trie::Trie::Form::large);
   auto const setting = timeOf([&] { set(memory, routes, prefixes); });
   auto const fill = memory.fill();
   choose(program.addresses(), family, prefixes, random);
   auto const times = measure(program, routes, rounds);

   auto const name = fmt::format("{}, {} routes", family.name, count);
   bool const hasGoals = count >= goalsFrom;
   auto const lookups = [&](char const* where, Contender lookup, Contender read) {
      auto const nsOf = [&](Contender contender) {
         return median(each(times[contender], &Times::seconds)) * 1e9 / LookupProgram::addressCount;
      };
      Report::Row row{.what = fmt::format("{}, a lookup {}", name, where),
                      .figure = nsOf(lookup),
                      .unit = "ns",
                      .ratio = {{ratioOfPairs(times[read], times[lookup], &Times::seconds), theRead}},
                      .beside = {{"a read's ns", nsOf(read)}, {"reads", nsOf(lookup) / nsOf(read)}}};
      if (hasGoals) row.leastRatio = 1 / family.mostReads;
      report.row(std::move(row));
   };
   lookups("by the program", programLooksUp, programReads);
   lookups("in the agent", agentLooksUp, agentReads);
   auto const routeCount = static_cast<double>(count);
   Report::Row row{.what = fmt::format("{}, memory of a route", name),
                   .figure = static_cast<double>(fill.used - fill.inGrace) / routeCount,
                   .unit = "bytes",
                   .beside = {{"of the table", (1U << TRIE_TABLE_BITS) * sizeof(std::uint32_t) / routeCount},
                              {"setting it, ns", setting.seconds * 1e9 / routeCount}}};
   if (hasGoals) row.mostFigure = family.mostBytes;
   report.row(std::move(row));
}

Report run(Options const& options) {
   Report report("lookup", fmt::format("random routes in memory shared with a BPF program, {} lookups and reads a "
                                       "round, each waiting for the one before, {} rounds",
                                       LookupProgram::addressCount, options.rounds));
   for (auto const count : options.sizes) {
      for (auto const& family : families) compare(family, count, options.rounds, report);
   }
   return report;
}

}  // namespace

void addLookup(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "lookup", "Routes as the Linux dataplane's packets look them up",
                                [=] { return run(*options); });
   addCount(command, "--sizes", options->sizes, "Routes");
   addCount(command, "--rounds", options->rounds, "Rounds");
}

}  // namespace VelmSdkRpc::Bench
