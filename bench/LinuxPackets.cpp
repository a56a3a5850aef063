// Small frames through the switch, more of them than it takes, beside the kernel's own forwarding in the same topology;
// and what the switch's program spends on one of them.
//
//    flood (one core) --> Ethernet1 [switch, or the kernel's ip_forward; the other core] Ethernet2 --> counted, dropped
//
// A lab each, which are flooded in turns. The generator has the switch's first device served by a thread of the kernel,
// since it would else do the switch's work itself, between its own frames. Destinations lie in all of the routes; the
// kernel has one route, a default, which is the least that it can have.

#include <arpa/inet.h>
#include <fmt/format.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bench/Flood.h"
#include "bench/Kinds.h"
#include "bench/Lab.h"
#include "bench/LookupProgram.h"
#include "bench/Networks.h"
#include "bench/Program.h"
#include "bench/ProgramCost.h"
#include "platform/linux/trie/Memory.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr double leastOfKernel = 1.3;
constexpr std::size_t groupCount = 64;

struct Options {
   std::string agent;
   std::size_t routes = 1'000'000;
   std::size_t rounds = 9;
   double seconds = 1;
};

/// One who forwards between the lab's hosts.
struct Contender {
   explicit Contender(std::vector<std::uint32_t> const& destinations) : lab(2), flood(lab, destinations) {}

   Lab const lab;
   FrameFlood const flood;
};

void serveByThread(Lab const& lab) {
   // The namespace's devices are seen in a sysfs that is mounted from within.
   lab.network().run(
      "unshare --mount sh -c 'mount -t sysfs sysfs /sys && echo 1 >/sys/class/net/Ethernet1/threaded'\n");
}

class SwitchContender {
 public:
   enum class Mode { native, generic };

   SwitchContender(Options const& options, Networks const& networks, std::vector<std::uint32_t> const& destinations,
                   Mode mode)
      : contender_(destinations), agent_(startedIn(mode, options)) {
      initSession(agent_);
      Groups const groups(agent_);
      std::vector<std::string> names;
      for (std::size_t i = 0; i < groupCount; ++i) {
         names.push_back(fmt::format("group-{}", i));
         groups.set(names.back(), {2});
      }
      groups.awaitActive(names.back());
      AsyncClient client;
      send(routesTo(networks, names), client, agent_.channel(), 2);
      serveByThread(contender_.lab);
   }

   FrameFlood::Rates flood(double seconds) const { return contender_.flood.flood(seconds); }
   Lab const& lab() const { return contender_.lab; }

 private:
   /// A device whose other end has frames larger than a page takes no program itself.
   Server startedIn(Mode mode, Options const& options) const {
      if (mode == Mode::generic) contender_.lab.host(1).run("ip link set eth0 mtu 9000\n");
      return contender_.lab.start(options.agent, "linux");
   }

   Contender const contender_;
   Server const agent_;
};

class KernelContender {
 public:
   explicit KernelContender(std::vector<std::uint32_t> const& destinations) : contender_(destinations) {
      contender_.lab.network().run(
         "ip neigh replace 10.0.2.2 lladdr 02:00:00:00:02:02 dev Ethernet2 nud permanent\n"
         "ip route add default via 10.0.2.2\n");
      serveByThread(contender_.lab);
   }

   FrameFlood::Rates flood(double seconds) const { return contender_.flood.flood(seconds); }

 private:
   Contender const contender_;
};

std::vector<std::uint32_t> destinationsIn(Networks const& networks) {
   std::vector<std::uint32_t> addresses;
   for (auto const network : shuffled(networks)) addresses.push_back(htonl(network | 7));
   return addresses;
}

/// As seconds for a frame, so that rounds compare.
struct FrameTimes {
   double received = 0;
   double sent = 0;
};

void compareRates(SwitchContender const& native, SwitchContender const& generic, KernelContender const& kernel,
                  Options const& options, Report& report) {
   auto const times = interleave(3, options.rounds, [&](std::size_t which, std::size_t) {
      auto const rates = which == 0   ? native.flood(options.seconds)
                         : which == 1 ? generic.flood(options.seconds)
                                      : kernel.flood(options.seconds);
      return FrameTimes{1 / rates.received, 1 / rates.sent};
   });
   auto const millions = [&](std::size_t which, double FrameTimes::*part) {
      return 1e-6 / median(each(times[which], part));
   };
   std::size_t const better = millions(0, &FrameTimes::received) > millions(1, &FrameTimes::received) ? 0 : 1;
   for (std::size_t which = 0; which < 2; ++which) {
      Report::Row row{
         .what = fmt::format("64-byte frames at overload, {}{}", which == 0 ? "native" : "generic",
                             which == better ? ", the better way here" : ""),
         .figure = millions(which, &FrameTimes::received),
         .unit = "Mpps",
         .ratio = {{ratioOfPairs(times[2], times[which], &FrameTimes::received), "ip_forward with one route"}},
         .beside = {{"offered Mpps", millions(which, &FrameTimes::sent)},
                    {"other's Mpps", millions(2, &FrameTimes::received)},
                    {"offered the other", millions(2, &FrameTimes::sent)}}};
      if (which == better) row.leastRatio = leastOfKernel;
      report.row(std::move(row));
   }
}

void measureCost(Lab const& lab, std::vector<std::uint32_t> const& destinations, Options const& options,
                 Report& report) {
   ProgramCost const program(lab, destinations);
   LookupProgram const reads(velm::trie::Memory::bytesFor(1, 1 << 20));
   struct Nanoseconds {
      double each = 0;
   };
   auto const times = interleave(2, options.rounds, [&](std::size_t which, std::size_t) {
      return Nanoseconds{which == 0 ? program.measure() : reads.read()};
   });
   auto const read = median(each(times[1], &Nanoseconds::each));
   auto const frame = median(each(times[0], &Nanoseconds::each));
   report.row({.what = fmt::format("the program alone, a frame beside {} routes", options.routes),
               .figure = frame,
               .unit = "ns",
               .ratio = {{ratioOfPairs(times[1], times[0], &Nanoseconds::each), "a dependent read of 128 MiB"}},
               .beside = {{"a read's ns", read}, {"reads", frame / read}}});
}

Report run(Options const& options) {
   Report report("linux_packets", fmt::format("{} routes of /24 networks to {} groups, floods of {} s, {} rounds",
                                              options.routes, groupCount, options.seconds, options.rounds));
   auto const networks = randomNetworks(options.routes);
   auto const destinations = destinationsIn(networks);
   SwitchContender const native(options, networks, destinations, SwitchContender::Mode::native);
   SwitchContender const generic(options, networks, destinations, SwitchContender::Mode::generic);
   KernelContender const kernel(destinations);
   compareRates(native, generic, kernel, options, report);
   measureCost(native.lab(), destinations, options, report);
   return report;
}

}  // namespace

void addLinuxPackets(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command =
      addBenchmark(program, "linux_packets", "Packets through the Linux dataplane", [=] { return run(*options); });
   command.add_option("--agent", options->agent, "The agent's program")->required();
   addCount(command, "--routes", options->routes, "Routes");
   addCount(command, "--rounds", options->rounds, "Rounds");
   addCount(command, "--seconds", options->seconds, "How long a flood lasts");
}

}  // namespace VelmSdkRpc::Bench
