// How long what happens to sBFD sessions takes to the client that listens, from just before the command that causes it:
// the failure of the link of all of them, and the change of a single one, on a quiet switch and while RTT figures storm
// to many listeners.

#include <fmt/format.h>
#include <google/protobuf/io/coded_stream.h>
#include <grpcpp/support/proto_buffer_reader.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
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
#include "proto/remote/vapi.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

using Clock = std::chrono::steady_clock;
using Updates = pb::watch_sbfd_echo_session_status_msg;
using Status = pb::sbfd_echo_session_oper_status_msg;

constexpr double mostLink = 50;   // milliseconds, of the longest
constexpr double mostStatus = 5;  // of the 99th percentile

struct Options {
   Builds builds;
   std::size_t sessions = 16'000;
   std::size_t failures = 20;  // of the link, in all rounds
   std::size_t changes = 500;  // of single sessions under each load, in all rounds
   std::size_t rounds = 5;
   std::size_t stormSessions = 2'000;  // that the RTT figures are of, in turn
   std::size_t listeners = 8;          // in a storm, on two connections
   std::vector<std::size_t> lists{50, 2'000};
};

constexpr auto updatesPath = "/VelmSdkRpc.pb.velmsdk_service/watch_sbfd_echo_session_status_msgs";
constexpr auto commandsPath = "/velm.remote.VapiMgrService/run_config_cmds";

// Whether a message of the stream, which holds many updates, holds statuses. To parse all of it costs as much as all
// that the agent does for it, so only the first update is looked at: a batch has statuses or RTT figures, never both.
bool isOfStatuses(grpc::ByteBuffer& batch) {
   grpc::ProtoBufferReader reader(&batch);
   google::protobuf::io::CodedInputStream in(&reader);
   Updates first;
   int length = 0;
   if (in.ReadTag() == 0 || !in.ReadVarintSizeAsInt(&length)) throw std::runtime_error("an empty batch of updates");
   auto const limit = in.PushLimit(length);
   if (!first.ParseFromCodedStream(&in)) throw std::runtime_error("an update that cannot be parsed");
   in.PopLimit(limit);
   return first.has_status();
}

/// Clients that listen for updates, and one that gives the switch commands, on a connection of its own: all on one
/// thread.
class Audience {
 public:
   /// Begins to listen, on as many as two connections, and returns when all are heard.
   Audience(Server const& server, std::size_t listeners)
      : command_(client_, server.newChannel(), commandsPath, {}, [](AsyncCalls::Reply const& reply) { check(reply); }),
        open_(listeners) {
      std::vector<std::shared_ptr<grpc::Channel>> const channels{server.newChannel(), server.newChannel()};
      for (std::size_t i = 0; i < listeners; ++i) {
         updates_.emplace_back(client_, channels[i % channels.size()], updatesPath,
                               toWire(pb::watch_sbfd_echo_session_config_msg()), [this, i](grpc::ByteBuffer& batch) {
                                  open_[i] = true;
                                  hear(batch);
                               });
      }
      // The agent answers a listener with nothing but updates, so one of a session that there is not tells it.
      while (!std::ranges::all_of(open_, std::identity())) {
         run({simulateStatus(static_cast<Place>(sessions().keys), Status::STATUS_UP)});
      }
   }

   void run(std::vector<std::string> const& commands) {
      begin(commands);
      client_.runUntil([this] { return command_.underWay() == 0; });
   }

   /// Gives one command and waits until it is answered and statuses have come that `awaited` recognises: how many
   /// milliseconds these took.
   double change(std::string const& command, std::function<bool(Updates const&)> awaited) {
      awaited_ = std::move(awaited);
      auto const start = Clock::now();
      begin({command});
      client_.runUntil([this] { return command_.underWay() == 0 && !awaited_; });
      return std::chrono::duration<double, std::milli>(heardAt_ - start).count();
   }

 private:
   static void check(AsyncCalls::Reply const& reply) {
      throwUnlessOk(reply.status, commandsPath);
      velm::remote::RunConfigCmdsResponse answer;
      if (!fromWire(reply.response, answer) || !answer.response().success()) {
         throw std::runtime_error("a command fails: " + answer.response().error_message());
      }
   }

   void begin(std::vector<std::string> const& commands) {
      velm::remote::RunConfigCmdsRequest request;
      request.mutable_commands()->Assign(commands.begin(), commands.end());
      command_.begin(toWire(request));
   }

   void hear(grpc::ByteBuffer& batch) {
      auto const now = Clock::now();  // whatever it takes to look at it
      if (!awaited_ || !isOfStatuses(batch)) return;
      Updates updates;
      if (!fromWire(batch, updates)) throw std::runtime_error("a batch of updates that cannot be parsed");
      if (!awaited_(updates)) return;
      heardAt_ = now;
      awaited_ = nullptr;
   }

   AsyncClient client_;
   AsyncCalls command_;
   std::function<bool(Updates const&)> awaited_;  // while something is
   Clock::time_point heardAt_;
   std::vector<bool> open_;
   std::deque<AsyncStream> updates_;
};

/// An agent with all of its sessions up, which the switch tells nothing of by itself.
struct Contender {
   Contender(std::string const& program, Options const& options) : server(program, quietly()) {
      prepare(server, sessions());
      auto const places = firstPlaces(options.sessions);
      add(server, sessions(), places);
      audience.emplace(server, 1);
      std::vector<std::string> commands;
      for (auto const place : places) commands.push_back(simulateStatus(place, Status::STATUS_UP));
      audience->run(commands);
   }

   Server server;
   std::optional<Audience> audience{};
   std::size_t changed = 0;  // single statuses so far
   double raised = 0;        // RTT figures a second, in the last storm
};

double linkIs(Contender& contender, bool up, std::size_t sessions) {
   auto const status = up ? Status::STATUS_UP : Status::STATUS_DOWN;
   return contender.audience->change(simulateLink(up), [&](Updates const& updates) {
      auto const told = std::ranges::count_if(
         updates.bulk(), [&](auto const& update) { return update.has_status() && update.status().status() == status; });
      return told == static_cast<std::ptrdiff_t>(sessions);
   });
}

Times changeStatuses(Contender& contender, Options const& options) {
   Times times;
   for (std::size_t i = 0; i < options.changes / options.rounds; ++i) {
      auto const number = contender.changed++;
      auto const place = static_cast<Place>(number % options.sessions);
      auto const status = number / options.sessions % 2 == 0 ? Status::STATUS_DOWN : Status::STATUS_UP;
      // It may share the batch with statuses that others have raised.
      auto const isOfThis = [&](Updates const& updates) {
         return std::ranges::any_of(updates.bulk(), [&](auto const& update) {
            return update.has_status() && update.status().status() == status && placeOf(update.session_key()) == place;
         });
      };
      times.push_back(contender.audience->change(simulateStatus(place, status), isOfThis));
   }
   return times;
}

// A turn over the figures of all sessions, so many raised by a call.
std::vector<std::vector<std::string>> figures(std::size_t list, Options const& options) {
   std::vector<std::vector<std::string>> lists;
   for (std::size_t place = 0; place < options.stormSessions; ++place) {
      if (place % list == 0) lists.emplace_back();
      lists.back().push_back(simulateRtt(static_cast<Place>(place)));
   }
   return lists;
}

Times changeInStorm(Contender& contender, std::size_t list, Options const& options) {
   Audience others(contender.server, options.listeners);
   Load storm([&others, lists = figures(list, options)] {
      for (auto const& commands : lists) others.run(commands);
   });
   auto times = changeStatuses(contender, options);
   contender.raised = storm.stop() * static_cast<double>(options.stormSessions);
   return times;
}

/// Contenders in turns: the agent, and another build of it if there is one.
class Comparison {
 public:
   Comparison(Report& report, Options const& options) : report_(report), options_(options) {
      contenders_.emplace_back(options.builds.agent, options);
      if (!options.builds.against.empty()) contenders_.emplace_back(options.builds.against, options);
   }

   void failLinks() {
      std::vector<Rounds> failures(contenders_.size());
      std::vector<Rounds> recoveries(contenders_.size());
      interleave(contenders_.size(), options_.rounds, [&](std::size_t contender, std::size_t) {
         auto& down = failures[contender].emplace_back();
         auto& up = recoveries[contender].emplace_back();
         for (std::size_t i = 0; i < options_.failures / options_.rounds; ++i) {
            down.push_back(linkIs(contenders_[contender], false, options_.sessions));
            up.push_back(linkIs(contenders_[contender], true, options_.sessions));
         }
         return 0;
      });
      Judged const judged{.part = &Percentiles::max, .most = mostLink};
      tell("link failure, load: none", failures, judged);
      tell("link recovery, load: none", recoveries, judged);
   }

   void changeOne() {
      auto const times = interleave(contenders_.size(), options_.rounds, [&](std::size_t contender, std::size_t) {
         return changeStatuses(contenders_[contender], options_);
      });
      tell("one status, load: none", times, {.most = mostStatus});
   }

   void changeOneInStorm(std::size_t list) {
      auto const times = interleave(contenders_.size(), options_.rounds, [&](std::size_t contender, std::size_t) {
         return changeInStorm(contenders_[contender], list, options_);
      });
      tell(fmt::format("one status, load: RTT, lists of {}", list), times, {.most = mostStatus},
           {{"RTT figures raised/s", contenders_[0].raised}});
   }

 private:
   void tell(std::string const& what, std::vector<Rounds> const& times, Judged const& judged,
             std::vector<std::pair<std::string, double>> const& beside = {}) {
      std::vector<std::pair<std::string, Rounds const*>> rivals;
      if (times.size() > 1) rivals.emplace_back("the other build", &times[1]);
      addLatency(report_, what, times[0], rivals, judged, beside);
   }

   Report& report_;
   Options const& options_;
   std::deque<Contender> contenders_;
};

Report run(Options const& options) {
   Report report(
      "sbfd_updates",
      fmt::format("from just before a command to the last byte of the statuses that it causes; {} sessions on "
                  "one link, {} failures, {} changes of one session under each load; RTT figures of {} "
                  "sessions, raised without pause, go to {} listeners",
                  options.sessions, options.failures, options.changes, options.stormSessions, options.listeners));
   Comparison comparison(report, options);
   comparison.failLinks();
   comparison.changeOne();
   for (auto const list : options.lists) comparison.changeOneInStorm(list);
   return report;
}

}  // namespace

void addSbfdUpdates(CLI::App& program) {
   auto const options = std::make_shared<Options>();
   auto& command = addBenchmark(program, "sbfd_updates", "How long what happens to sBFD sessions takes to a listener",
                                [=] { return run(*options); });
   addBuilds(command, options->builds);
   addCount(command, "--sessions", options->sessions, "Sessions on the link");
   addCount(command, "--failures", options->failures, "Failures of the link");
   addCount(command, "--changes", options->changes, "Changes of a single session under each load");
   addCount(command, "--rounds", options->rounds, "Rounds that these are spread over");
   addCount(command, "--list", options->lists, "RTT figures raised by one call; repeatable, one load for each");
   addCount(command, "--storm-sessions", options->stormSessions, "Sessions that the RTT figures are of");
   addCount(command, "--listeners", options->listeners, "Listeners in a storm");
}

}  // namespace VelmSdkRpc::Bench
