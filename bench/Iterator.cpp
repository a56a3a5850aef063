// The names of a million statuses, streamed by the agent and by the floor.

#include <fmt/format.h>

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Server.h"
#include "bench/StatusNames.h"
#include "remote/agent.grpc.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

namespace remote = velm::remote;
constexpr double goal = 0.8;

struct Options {
   std::string agent;
   std::string floor;
   std::string json;
   std::size_t statuses = 1'000'000;
   std::size_t rounds = 7;
};

void setStatuses(Server& agent, std::size_t count) {
   auto const stub = remote::AgentService::NewStub(agent.channel());
   constexpr std::size_t chunk = 10'000;
   for (std::size_t done = 0; done < count;) {
      remote::AgentBulkStatusSetRequest bulk;
      for (; done < count && static_cast<std::size_t>(bulk.requests_size()) < chunk; ++done) {
         auto& status = *bulk.add_requests();
         status.set_name(statusName(done));
         status.set_value("set");
      }
      grpc::ClientContext context;
      remote::AgentBulkStatusSetResponse answer;
      auto const status = stub->bulk_status_set(&context, bulk, &answer);
      if (!status.ok() || answer.count() != static_cast<std::size_t>(bulk.requests_size())) {
         throw std::runtime_error("bulk_status_set failed: " + status.error_message() + answer.ShortDebugString());
      }
   }
}

// Reads them all, and checks that there are as many as there should be and which the last one is.
Sample readStatuses(Server& server, std::size_t count) {
   auto const stub = remote::AgentService::NewStub(server.channel());
   auto const cpuBefore = server.cpuSeconds();
   auto const start = std::chrono::steady_clock::now();
   grpc::ClientContext context;
   auto const reader = stub->statuses(&context, {});
   remote::AgentStatusesResponse element;
   std::size_t read = 0;
   while (reader->Read(&element)) ++read;
   auto const status = reader->Finish();
   auto const end = std::chrono::steady_clock::now();
   if (!status.ok() || read != count || element.name() != statusName(count - 1)) {
      throw std::runtime_error(fmt::format("{} sent {} of {} statuses, the last one {}: {}", server.name(), read, count,
                                           element.name(), status.error_message()));
   }
   return {std::chrono::duration<double>(end - start).count(), server.cpuSeconds() - cpuBefore};
}

void run(Options const& options) {
   Report report("iterator",
                 fmt::format("a stream of {} names of 16 bytes, one Write behind the other; {} rounds of one stream "
                             "from each server in turn",
                             options.statuses, options.rounds),
                 {{"server", "server"},
                  {"elements_per_second", "elements/s"},
                  {"of_floor", "of floor", 2},
                  {"of_floor_low", "low", 2},
                  {"of_floor_high", "high", 2},
                  {"cpu_us_per_element", "CPU us/element", 2},
                  {"cpu_of_floor", "floor CPU/CPU", 2}});
   report.fact("elements", static_cast<double>(options.statuses));
   report.fact("rounds", static_cast<double>(options.rounds));
   report.fact("goal", goal);
   report.note(
      "Medians; \"of floor\" is that of the speeds' ratios in pairs, with the lowest and the highest. CPU is the");
   report.note("server's own: it tells servers apart also where the client is what holds both back.");
   report.note(fmt::format("Goal: agent {:.2f} of floor.", goal));
   std::vector<std::unique_ptr<Server>> servers;
   servers.push_back(std::make_unique<Server>(
      "floor", options.floor, std::vector<std::string>{"--statuses", std::to_string(options.statuses)}));
   servers.push_back(std::make_unique<Server>("agent", options.agent, quietly()));
   setStatuses(*servers[1], options.statuses);
   auto const measure = [&](std::size_t server, std::size_t) {
      return readStatuses(*servers[server], options.statuses);
   };
   interleave(servers.size(), 1, measure);  // to warm up
   auto const samples = interleave(servers.size(), options.rounds, measure);
   auto const elements = static_cast<double>(options.statuses);
   for (std::size_t i = 0; i < servers.size(); ++i) {
      auto const speed = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
      report.row({servers[i]->name(), elements / medianOf(samples[i], &Sample::seconds), speed.median, speed.low,
                  speed.high, medianOf(samples[i], &Sample::cpuSeconds) / elements * 1e6,
                  ratioOfPairs(samples[0], samples[i], &Sample::cpuSeconds).median});
   }
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("iterator", "Compares the agent's stream of a long table with a floor.");
   program.agent(options.agent)
      .floor(options.floor)
      .json(options.json)
      .count("--statuses", options.statuses, "Names to stream")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
