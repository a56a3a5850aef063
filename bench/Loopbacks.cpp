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

void Loopbacks::change(std::size_t first, std::size_t changes) {
   CommandLine::Commands commands;
   for (auto i = first; i < first + changes; ++i) {
      commands.add_commands(fmt::format("interface {}{}", kind, i % count_));
      commands.add_commands("description " + descriptionOf(i / count_));
   }
   commandLine_.run(commands);
}

std::optional<std::size_t> Loopbacks::described(IntfWatch::Event const& event) {
   if (!event.has_description() || !event.intf_id().name().starts_with(kind)) return {};
   return std::stoul(event.intf_id().name().substr(kind.size()));
}

}  // namespace VelmSdkRpc::Bench
