#include "bench/Loopbacks.h"

#include <fmt/format.h>

#include <string_view>

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::string_view kind = "Loopback";

}  // namespace

Loopbacks::Loopbacks(Client& client, Server const& server, std::size_t count)
   : commandLine_(client, server.newChannel()), count_(count) {
   CommandLine::Commands commands;
   for (std::size_t i = 0; i < count_; ++i) commands.add_commands(fmt::format("interface {}{}", kind, i));
   commandLine_.run(commands);
}

void Loopbacks::describe(std::size_t turn, std::size_t turns) {
   CommandLine::Commands commands;
   for (auto const end = turn + turns; turn < end; ++turn) {
      auto const description = "description " + descriptionOf(turn);
      for (std::size_t i = 0; i < count_; ++i) {
         commands.add_commands(fmt::format("interface {}{}", kind, i));
         commands.add_commands(description);
      }
   }
   commandLine_.run(commands);
}

std::optional<std::size_t> Loopbacks::described(Watch::Event const& event) {
   if (!event.has_description() || !event.intf_id().name().starts_with(kind)) return {};
   return std::stoul(event.intf_id().name().substr(kind.size()));
}

}  // namespace VelmSdkRpc::Bench
