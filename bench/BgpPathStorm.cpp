#include "bench/BgpPathStorm.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "bench/Hosts.h"

namespace VelmSdkRpc::Bench {
namespace {

// The marker is the path behind those of the keys.
std::string simulate(std::size_t key, std::size_t med) {
   auto const host = firstHost + key;
   return fmt::format("simulate bgp path {}.{}.{}.{}/32 peer 10.0.0.1 vrf default next-hop 10.0.0.1 med {}",
                      host >> 24U, host >> 16U & 255U, host >> 8U & 255U, host & 255U, med);
}

}  // namespace

BgpPathStorm::BgpPathStorm(Client& client, Server const& agent, std::size_t keys)
   : client_(client),
     agent_(agent),
     keys_(keys),
     commandLine_(client, agent.newChannel()),
     showLine_(client, agent.newChannel()) {}

void BgpPathStorm::change(std::size_t first, std::size_t changes) {
   CommandLine::Commands commands;
   for (auto i = first; i < first + changes; ++i) commands.add_commands(simulate(i % keys_, i / keys_));
   commandLine_.run(commands);
}

void BgpPathStorm::listen(std::size_t /*end*/) {
   known_.assign(keys_, false);
   heard_ = {};
   watch_ = std::make_unique<BgpPathWatch>(client_, agent_.newChannel(),
                                           [this](BgpPathWatch::Event const& event) { hear(event); });
}

// Events come into the backlog in order, but leave it in none: the first marker tells that all are in, the second, made
// when the backlog was empty, that all have come.
Storm::Heard BgpPathStorm::hearOut() {
   changeMarker();
   while (!backlogEmpty()) continue;
   changeMarker();
   watch_.reset();
   if (auto const heard = std::ranges::count(known_, true); static_cast<std::size_t>(heard) != keys_) {
      throw std::runtime_error(fmt::format("the watch tells of {} paths of {}", heard, keys_));
   }
   return heard_;
}

void BgpPathStorm::hear(BgpPathWatch::Event const& event) {
   auto const key = placeOfHost(event.path_key().prefix().ip_addr());
   if (key == keys_) {
      ++markersHeard_;
      return;
   }
   known_.at(key) = true;
   heard_ = {.messages = heard_.messages + 1, .last = Clock::now()};
}

void BgpPathStorm::changeMarker() {
   CommandLine::Commands commands;
   commands.add_commands(simulate(keys_, ++markers_));
   commandLine_.run(commands);
   client_.runUntil([this] { return markersHeard_ == markers_; });
}

bool BgpPathStorm::backlogEmpty() {
   constexpr auto backlog = "BgpPathKeyBacklog";
   auto const answer = showLine_.run("show switch tasks", "tasks");
   auto const& tasks = answer["tasks"];
   if (!tasks.HasMember(backlog)) throw std::runtime_error(std::string("no task ") + backlog);
   return tasks[backlog]["work_pending"].GetUint64() == 0;
}

}  // namespace VelmSdkRpc::Bench
