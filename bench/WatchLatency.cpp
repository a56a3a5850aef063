// How long an event takes to all clients that watch, from just before the call that causes it, while the server is idle
// and while another client programs routes without pause.

#include <fmt/format.h>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/Kinds.h"
#include "bench/Latency.h"
#include "bench/Load.h"
#include "bench/Program.h"
#include "clients/support/AsyncClient.h"
#include "clients/support/Call.h"
#include "clients/support/Wire.h"
#include "proto/remote/intf.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

namespace remote = velm::remote;
using Clock = std::chrono::steady_clock;

constexpr auto service = "/velm.remote.IntfMgrService/";
// Goals for the 99th percentile, in milliseconds, with a single watcher.
constexpr double mostIdle = 1;
constexpr double mostProgramming = 10;

struct Options {
   Builds builds;
   std::size_t watchers = 1;
   std::size_t connections = 1;  // that the watchers share
   std::size_t events = 1'000;   // from each server in each round
   std::size_t rounds = 5;
   bool idleOnly = false;
};

/// Clients that watch the interfaces of a server, and one that changes an interface, on a connection of its own: all on
/// one thread.
class Audience {
 public:
   Audience(Server const& server, Options const& options)
      : change_(client_, server.newChannel(), std::string(service) + "description_is", {},
                [](AsyncCalls::Reply const& reply) { throwUnlessOk(reply.status, "description_is"); }) {
      request_.mutable_intf_id()->set_name("Ethernet1");
      remote::WatchIntfRequest all;
      all.set_all(true);
      all.set_notify_ready(true);
      std::vector<std::shared_ptr<grpc::Channel>> channels;
      for (std::size_t i = 0; i < options.connections; ++i) channels.push_back(server.newChannel());
      for (std::size_t i = 0; i < options.watchers; ++i) {
         watches_.emplace_back(client_, channels[i % channels.size()], std::string(service) + "watch", toWire(all),
                               [this](grpc::ByteBuffer const& bytes) { hear(bytes); });
      }
      client_.runUntil([this] { return ready_ == watches_.size(); });
   }

   /// Makes a change and waits until it is answered and all have heard of it: how many milliseconds the last of them.
   double change() {
      request_.set_description(std::to_string(++changes_));
      heard_ = 0;
      auto const begin = Clock::now();
      change_.begin(toWire(request_));
      client_.runUntil([this] { return change_.underWay() == 0 && heard_ == watches_.size(); });
      return std::chrono::duration<double, std::milli>(heardAt_ - begin).count();
   }

 private:
   void hear(grpc::ByteBuffer const& bytes) {
      if (!fromWire(bytes, event_)) throw std::runtime_error("an event that cannot be parsed");
      if (event_.ready()) ++ready_;
      if (event_.description() != request_.description() || changes_ == 0) return;
      heardAt_ = Clock::now();
      ++heard_;
   }

   AsyncClient client_;
   AsyncCalls change_;
   remote::DescriptionIsRequest request_;
   remote::WatchIntfResponse event_;
   std::size_t ready_ = 0;
   std::size_t changes_ = 0;
   std::size_t heard_ = 0;  // of the present change
   Clock::time_point heardAt_;
   std::deque<AsyncStream> watches_;
};

struct Contender {
   Contender(std::string name, std::string const& program, std::vector<std::string> arguments, Options const& options)
      : name(std::move(name)), server(program, std::move(arguments)), audience(server, options) {}

   std::string name;
   Server server;
   Audience audience;
   double programmed = 0;  // turns of the load a second, in the last round
};

/// Bulks of a thousand adds and then of as many deletes, four of them under way.
std::function<void()> programming(Server const& server) {
   auto const client = std::make_shared<AsyncClient>();
   auto const kind = ipRoutes();
   auto const places = firstPlaces(20 * bulkSize);
   auto const adds = std::make_shared<Requests>(kind.add(places, bulkSize));
   auto const removals = std::make_shared<Requests>(kind.remove(places, bulkSize));
   return [=, channel = server.newChannel()] {
      send(*adds, *client, channel, 4);
      send(*removals, *client, channel, 4);
   };
}

Times measure(Contender& contender, bool loaded, Options const& options) {
   std::optional<Load> load;
   if (loaded) load.emplace(programming(contender.server));
   Times times;
   for (std::size_t i = 0; i < options.events; ++i) times.push_back(contender.audience.change());
   if (load) contender.programmed = load->stop();
   return times;
}

// The agent is the first one.
void compare(std::deque<Contender>& contenders, bool loaded, Options const& options, Report& report) {
   for (auto& contender : contenders) contender.audience.change();  // to warm up
   auto const times = interleave(contenders.size(), options.rounds, [&](std::size_t contender, std::size_t) {
      return measure(contenders[contender], loaded, options);
   });
   std::vector<std::pair<std::string, Rounds const*>> rivals;
   for (std::size_t i = 1; i < contenders.size(); ++i) rivals.emplace_back(contenders[i].name, &times[i]);
   std::vector<std::pair<std::string, double>> beside;
   if (loaded) beside.emplace_back("routes/s", contenders[0].programmed * 40 * bulkSize);
   std::optional<double> goal;
   if (options.watchers == 1) goal = loaded ? mostProgramming : mostIdle;
   auto const to = options.watchers == 1 ? std::string("a watcher") : fmt::format("{} watchers", options.watchers);
   addLatency(report, fmt::format("an event to {}, {}", to, loaded ? "while another client programs" : "idle"),
              times[0], rivals, {.most = goal}, beside);
}

Report run(Options const& options) {
   Report report(options.watchers == 1 ? "watch_latency" : "watch_fan_out",
                 fmt::format("from just before a call until all {} watches on {} connections have the event that it "
                             "causes, {} events from each "
                             "server in {} rounds",
                             options.watchers, options.connections, options.events * options.rounds, options.rounds));
   std::deque<Contender> contenders;
   auto const& [agent, floor, against] = options.builds;
   contenders.emplace_back("the agent", agent, quietly(), options);
   prepare(contenders.back().server, ipRoutes());
   if (!floor.empty()) contenders.emplace_back("floor", floor, std::vector<std::string>(), options);
   if (!against.empty()) {
      contenders.emplace_back("the other build", against, quietly(), options);
      prepare(contenders.back().server, ipRoutes());
   }
   compare(contenders, false, options, report);
   if (!options.idleOnly) compare(contenders, true, options, report);
   return report;
}

}  // namespace

void addWatchLatency(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "watch_latency", "How long an event takes to clients that watch",
                                [=] { return run(*options); });
   addBuilds(command, options->builds);
   addCount(command, "--watchers", options->watchers, "Watches");
   addCount(command, "--connections", options->connections, "Connections that share them");
   addCount(command, "--events", options->events, "Events from each server in each round");
   addCount(command, "--rounds", options->rounds, "Rounds");
   command.add_flag("--idle", options->idleOnly, "Only while the servers are idle");
}

}  // namespace VelmSdkRpc::Bench
