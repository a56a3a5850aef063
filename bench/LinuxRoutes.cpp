// Routes programmed into the Linux dataplane, beside the same into the simulated one and beside the kernel's own table
// by `ip -batch`.
//
//    for each order, for each round, in turns:
//       an agent on each dataplane    bulks of all routes, timed | the same deleted
//       a namespace of its own        ip -batch of some of them, timed | their nexthop objects deleted, and they with
//       it
//
// Routes go into empty tables. Those of `ip` are fewer, since it takes the kernel microseconds for each; so its table
// is the smaller one, to its advantage.

#include <fmt/format.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bench/Kinds.h"
#include "bench/Lab.h"
#include "bench/Networks.h"
#include "bench/Program.h"
#include "clients/support/TempFolder.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::size_t outstanding = 4;
constexpr std::size_t groupCount = 64;
constexpr double leastOfSimulated = 0.7;
constexpr double leastOfKernel = 20;

struct Options {
   std::string agent;
   std::size_t routes = 1'000'000;
   std::size_t kernelRoutes = 200'000;
   std::size_t rounds = 5;
};

/// An agent whose groups lead to the lab's host, and what of its routes goes between the rounds.
class Programmed {
 public:
   Programmed(Lab const& lab, Options const& options, std::string const& dataplane)
      : server_(lab.start(options.agent, dataplane)) {
      initSession(server_);
      for (std::size_t i = 0; i < groupCount; ++i) {
         names_.push_back(fmt::format("group-{}", i));
         Groups(server_).set(names_.back(), {1});
      }
      Groups(server_).awaitActive(names_.back());
   }

   /// In the time for each route.
   Sample program(Networks const& networks) {
      auto const requests = routesTo(networks, names_);
      auto sample = timed(server_, [&] { send(requests, client_, server_.channel(), outstanding); });
      send(deletionsOf(networks), client_, server_.channel(), outstanding);
      auto const count = static_cast<double>(networks.size());
      return {sample.seconds / count, sample.cpuSeconds / count};
   }

 private:
   Server server_;
   AsyncClient client_;
   std::vector<std::string> names_;
};

/// The kernel's table in a namespace, and `ip`.
class KernelTable {
 public:
   Sample program(Networks const& networks) {
      writeNexthops();
      space_.run(fmt::format("ip -batch {}/nexthops", folder_.path()));
      std::ofstream file(folder_.path() + "/routes");
      std::size_t turn = 0;
      for (auto const network : networks) {
         file << fmt::format("route add {}.{}.{}.0/24 nhid {}\n", network >> 24, network >> 16 & 255,
                             network >> 8 & 255, turn++ % groupCount + 1);
      }
      file.close();
      auto const begin = std::chrono::steady_clock::now();
      space_.run(fmt::format("ip -batch {}/routes", folder_.path()));
      auto const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
      space_.run("ip nexthop flush >/dev/null 2>&1");
      return {seconds / static_cast<double>(networks.size()), 0};
   }

 private:
   void writeNexthops() const {
      std::ofstream file(folder_.path() + "/nexthops");
      file
         << "link add far type veth peer name near\nlink set near up\nlink set far up\naddr add 10.0.1.1/24 dev far\n";
      for (std::size_t i = 0; i < groupCount; ++i)
         file << fmt::format("nexthop add id {} via 10.0.1.2 dev far\n", i + 1);
   }

   Namespace space_;
   TempFolder const folder_;
};

void compare(Options const& options, Report& report) {
   Lab const lab(1);
   Programmed linux_(lab, options, "linux");
   Programmed simulated(lab, options, "simulated");
   auto const ascending = randomNetworks(options.routes);
   for (auto const order : {Order::ascending, Order::shuffled}) {
      auto const networks = order == Order::ascending ? ascending : shuffled(ascending);
      Networks const some(networks.begin(),
                          networks.begin() + std::ptrdiff_t(std::min(networks.size(), options.kernelRoutes)));
      auto const samples = interleave(3, options.rounds, [&](std::size_t which, std::size_t) {
         return which == 0   ? linux_.program(networks)
                : which == 1 ? simulated.program(networks)
                             : KernelTable().program(some);
      });
      auto const beside = [&](std::size_t other, std::string const& name, double least) {
         auto const rate = [&](std::size_t which) { return 1 / median(each(samples[which], &Sample::seconds)); };
         Report::Row row{
            .what = fmt::format("{} adds into an empty table", nameOf(order)),
            .figure = rate(0),
            .unit = "adds/s",
            .ratio = {{ratioOfPairs(samples[other], samples[0], &Sample::seconds), name}},
            .leastRatio = least,
            .beside = {{"CPU us", median(each(samples[0], &Sample::cpuSeconds)) * 1e6}, {"other's /s", rate(other)}}};
         if (other == 1) row.beside.emplace_back("other's CPU us", median(each(samples[1], &Sample::cpuSeconds)) * 1e6);
         report.row(std::move(row));
      };
      beside(1, "simulated dataplane", leastOfSimulated);
      beside(2, fmt::format("ip -batch of {}", some.size()), leastOfKernel);
   }
}

Report run(Options const& options) {
   Report report("linux_routes", fmt::format("{} routes of random /24 networks to {} groups, in bulks of {}, {} "
                                             "outstanding, {} rounds",
                                             options.routes, groupCount, bulkSize, outstanding, options.rounds));
   compare(options, report);
   return report;
}

}  // namespace

void addLinuxRoutes(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "linux_routes", "Routes programmed into the Linux dataplane",
                                [=] { return run(*options); });
   command.add_option("--agent", options->agent, "The agent's program")->required();
   addCount(command, "--routes", options->routes, "Routes");
   addCount(command, "--kernel-routes", options->kernelRoutes, "Routes by ip, of these");
   addCount(command, "--rounds", options->rounds, "Rounds");
}

}  // namespace VelmSdkRpc::Bench
