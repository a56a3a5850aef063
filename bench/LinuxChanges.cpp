// How soon packets follow what changes: a group that is replaced under many routes, and a link that goes.
//
//    host 1 --probe--> switch --> host 2        the group moves from one host to the other, time and again;
//                        `------> host 3        then it has both, and the link of host 3 goes and comes back
//
// Of a replacement it is told which packets were sent after the answer, and where they went; the clock begins with the
// first of them, as the probe may have to wait for a processor. Of a link's loss it is told between which two packets,
// the first and the last that were lost, flows were without a way: that is the same whenever the link is taken to have
// gone.

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Kinds.h"
#include "bench/Lab.h"
#include "bench/Latency.h"
#include "bench/Networks.h"
#include "bench/Probe.h"
#include "bench/Program.h"

namespace VelmSdkRpc::Bench {
namespace {

using namespace std::chrono_literals;
using Clock = Probe::Clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr double mostAfterAnswer = 1;  // ms
constexpr double mostWithoutWay = 20;  // ms
constexpr auto group = "moving";
constexpr std::uint16_t flows = 64;
constexpr auto patience = 20s;

struct Options {
   std::string agent;
   std::size_t routes = 100'000;
   std::size_t replacements = 500;
   std::size_t failures = 20;
};

void program(Server const& agent, Networks const& networks) {
   initSession(agent);
   Groups const groups(agent);
   // So that the neighbours are resolved before the group moves.
   groups.set("two", {2});
   groups.set("three", {3});
   groups.awaitActive("two");
   groups.awaitActive("three");
   groups.set(group, {2});
   AsyncClient client;
   send(routesTo(shuffled(networks), {group}), client, agent.channel(), 2);
}

/// What the probe has brought, more and more of it, until `enough` is content. Throws std::runtime_error if it is not.
template <class Enough>
std::vector<Probe::Packet> gather(Probe& probe, Enough const& enough) {
   std::vector<Probe::Packet> all;
   for (auto const deadline = Clock::now() + patience; Clock::now() < deadline;) {
      auto const more = probe.take();
      all.insert(all.end(), more.begin(), more.end());
      if (enough(all)) {
         std::ranges::sort(all, {}, &Probe::Packet::number);  // the hosts are asked one after the other
         return all;
      }
      std::this_thread::sleep_for(1ms);
   }
   throw std::runtime_error("the probe's packets do not come where they should");
}

struct Replacements {
   Times call;            // from the call to its answer
   Times follow;          // from the first packet sent after the answer to the first that has come the new way
   std::size_t late = 0;  // packets sent after the answer that went the old way
};

Replacements replaceTimeAndAgain(Server const& agent, Probe& probe, std::size_t count) {
   Groups const groups(agent);
   Replacements times;
   constexpr std::size_t behind = 50;  // packets sent after the answer that are looked at
   for (std::size_t i = 0; i < count; ++i) {
      std::size_t const to = i % 2 == 0 ? 3 : 2;
      probe.take();
      auto const called = Clock::now();
      groups.set(group, {to});
      auto const answered = Clock::now();
      auto const packets = gather(probe, [&](auto const& all) {
         return std::ranges::count_if(all, [&](auto const& packet) { return packet.sent > answered; }) >=
                std::ptrdiff_t{behind};
      });
      auto const after = std::ranges::find_if(packets, [&](auto const& packet) { return packet.sent > answered; });
      auto const first = std::ranges::find(packets, to, &Probe::Packet::host);
      if (first == packets.end()) throw std::runtime_error("a replaced group does not lead the new way");
      times.call.push_back(Milliseconds(answered - called).count());
      times.follow.push_back(std::max(0.0, Milliseconds(first->arrived - after->sent).count()));
      times.late += static_cast<std::size_t>(std::ranges::count_if(
         packets, [&](auto const& packet) { return packet.sent > answered && packet.host != to; }));
   }
   return times;
}

struct Failures {
   Times without;           // a way, of flows that had the link
   std::size_t others = 0;  // packets lost of flows that had not
};

/// Which host each flow's packets come to.
std::vector<std::size_t> waysOf(std::vector<Probe::Packet> const& packets) {
   std::vector<std::size_t> ways(flows);
   for (auto const& packet : packets) ways[packet.number % flows] = packet.host;
   return ways;
}

// Packets that did not come, between those that did, by their neighbours' times.
void tell(std::vector<Probe::Packet> const& packets, std::vector<std::size_t> const& before, Failures& failures) {
   Clock::time_point begin = Clock::time_point::max();
   Clock::time_point end = Clock::time_point::min();
   for (std::size_t i = 1; i < packets.size(); ++i) {
      for (auto number = packets[i - 1].number + 1; number < packets[i].number; ++number) {
         if (before[number % flows] != 3) {
            ++failures.others;
            continue;
         }
         begin = std::min(begin, packets[i - 1].sent);
         end = std::max(end, packets[i].sent);
      }
   }
   failures.without.push_back(begin < end ? Milliseconds(end - begin).count() : 0);
}

Failures failTimeAndAgain(Lab const& lab, Probe& probe, std::size_t count) {
   Failures failures;
   auto const bothWays = [](auto const& all) {
      auto const ways = waysOf(all);
      return all.size() > 20 * flows && std::ranges::count(ways, std::size_t{3}) > flows / 8 &&
             std::ranges::count(ways, std::size_t{2}) > flows / 8;
   };
   for (std::size_t i = 0; i < count; ++i) {
      auto const before = waysOf(gather(probe, bothWays));
      lab.host(3).run("ip link set eth0 down");
      auto const downAt = Clock::now();
      auto const packets =
         gather(probe, [&](auto const& all) { return !all.empty() && all.back().sent > downAt + 50ms; });
      tell(packets, before, failures);
      lab.host(3).run("ip link set eth0 up");
      gather(probe, [&](auto const& all) {
         return std::ranges::find(all, std::size_t{3}, &Probe::Packet::host) != all.end();
      });
      probe.take();
   }
   return failures;
}

void addLongest(Report& report, std::string const& what, Times const& times, double most) {
   addLatency(report, what, {times}, {}, {.part = &Percentiles::max, .most = most});
}

Report run(Options const& options) {
   Report report("linux_changes", fmt::format("{} routes to one group, {} replacements, {} losses of a link",
                                              options.routes, options.replacements, options.failures));
   Lab const lab(3);
   auto const agent = lab.start(options.agent, "linux");
   auto const networks = randomNetworks(options.routes);
   program(agent, networks);
   auto const far = networks[networks.size() / 2] + 7;
   {
      Probe probe(lab, {.destination = far, .listening = {2, 3}});
      auto const times = replaceTimeAndAgain(agent, probe, options.replacements);
      addLatency(report, "the call that replaces a group", {times.call}, {}, {});
      addLatency(report, "from the next packet to one the new way", {times.follow}, {}, {.most = mostAfterAnswer});
      report.row({.what = "packets sent after an answer that went the old way",
                  .figure = static_cast<double>(times.late),
                  .unit = "packets",
                  .mostFigure = 0});
   }
   Groups(agent).set(group, {2, 3});
   Probe probe(lab, {.destination = far, .listening = {2, 3}, .flows = flows});
   auto const failures = failTimeAndAgain(lab, probe, options.failures);
   addLongest(report, "a link is lost, its flows are without a way", failures.without, mostWithoutWay);
   report.row({.what = "packets lost of other flows",
               .figure = static_cast<double>(failures.others),
               .unit = "packets",
               .mostFigure = 0});
   return report;
}

}  // namespace

void addLinuxChanges(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command =
      addBenchmark(program, "linux_changes", "How soon packets follow a change", [=] { return run(*options); });
   command.add_option("--agent", options->agent, "The agent's program")->required();
   addCount(command, "--routes", options->routes, "Routes");
   addCount(command, "--replacements", options->replacements, "Replacements of their group");
   addCount(command, "--failures", options->failures, "Losses of a link");
}

}  // namespace VelmSdkRpc::Bench
