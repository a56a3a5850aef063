#include "platform/switch/Options.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "platform/pesko/Trace.h"
#include "platform/qor/Text.h"
#include "platform/switch/Identity.h"
#include "platform/switch/Switch.h"

// The agent has taken its own options by now; whatever else is left belongs to the switch, and what the switch does not
// know ends the process before anything has begun. Then, in this order: the traces, so that they show what follows; the
// dataplane, which so hears of all the rest; the state folder; the configuration, which so adds to what was brought
// back. A failure at any point ends the process, for an agent on half a configuration would program the wrong switch.
namespace velm::embedded {
namespace {

constexpr auto description = R"(Puts the switch's programming SDK behind one gRPC port.

Options of the agent, each with its value in the next argument:
  --listen ADDRESS            where the gRPC server listens (127.0.0.1:9543)
  --grpc-trace TRACERS        sets GRPC_TRACE
  --grpc-verbosity LEVEL      sets GRPC_VERBOSITY
)";

// The configuration's commands with their line numbers, for a message that a person can act on.
struct Line {
   std::size_t number;
   std::string text;
};

std::vector<Line> readLines(std::string const& path) {
   std::ifstream file(path);
   if (!file) refuse(fmt::format("cannot read {}", path));
   std::vector<Line> lines;
   std::string text;
   for (std::size_t number = 1; std::getline(file, text); ++number) {
      auto const first = text.find_first_not_of(" \t\r");
      if (first == std::string::npos || text[first] == '!') continue;
      if (!Qor::isUtf8(text)) refuse(fmt::format("{}:{}: the line is not UTF-8", path, number));
      lines.push_back({number, text});
   }
   return lines;
}

void start(Options const& options, Switch& device) {
   auto const lines = options.configFile.empty() ? std::vector<Line>() : readLines(options.configFile);
   std::vector<std::string> commands;
   commands.reserve(lines.size());
   for (auto const& line : lines) commands.push_back(line.text);
   try {
      if (auto const failure = device.start(commands)) {
         refuse(fmt::format("{}:{}: {}", options.configFile, lines[failure->done].number, failure->message));
      }
   } catch (error const& e) {
      refuse(e.msg());
   }
}

}  // namespace

void refuse(std::string const& message) {
   fmt::print(stderr, "{}: {}\n", agentName, message);
   std::exit(2);
}

Options readOptions(int argc, char** argv) {
   Options options;
   CLI::App app(description, std::string(agentName));
   app.add_option("--switch-config", options.configFile, "Configuration commands to carry out before the agent starts")
      ->type_name("FILE");
   app.add_option("--switch-dataplane", options.dataplane, "What carries the tables out: a simulation, or the machine")
      ->type_name("NAME")
      ->check(CLI::IsMember({"simulated", "linux"}));
   // At most what the memory that a packet's lookup can reach has room for.
   app.add_option("--switch-ipv4-routes", options.capacity.ipv4Routes, "IPv4 routes that the machine has room for")
      ->type_name("N")
      ->check(CLI::Range(1, 3'000'000));
   app.add_option("--switch-ipv6-routes", options.capacity.ipv6Routes, "IPv6 routes that the machine has room for")
      ->type_name("N")
      ->check(CLI::Range(1, 1'000'000));
   app.add_option("--switch-groups", options.capacity.groups, "Nexthop groups that the machine has room for")
      ->type_name("N")
      ->check(CLI::Range(1, 1'000'000));
   app.add_option("--switch-state", options.stateFolder, "Folder of the switch's state, which outlives the agent")
      ->type_name("DIR");
   app.add_option("--trace", options.traces, "Trace levels of a facility, for example VelmSdkRpc/0-3,6; repeatable")
      ->type_name("SPEC")
      ->allow_extra_args(false);
   app.set_version_flag("--version", fmt::format("{} {}", agentName, agentVersion));
   // By the count alone: CLI11 takes the arguments in reverse order.
   std::vector<std::string> arguments;
   for (int i = argc - 1; i >= 1; --i) arguments.emplace_back(argv[i] == nullptr ? "" : argv[i]);
   try {
      app.parse(std::move(arguments));
   } catch (CLI::Success const& success) {
      std::exit(app.exit(success));
   } catch (CLI::ParseError const& failure) {
      refuse(failure.what());
   }
   return options;
}

void applyOptions(Options const& options, DataplaneFactory const& make, Switch& device) {
   for (auto const& spec : options.traces) {
      try {
         Pesko::Platform::setupPeskoDebug(spec);
      } catch (std::invalid_argument const& e) {
         refuse(fmt::format("--trace: {}", e.what()));
      }
   }
   try {
      device.dataplaneIs(make);
   } catch (error const& e) {
      refuse(e.msg());
   }
   if (!options.stateFolder.empty()) {
      // The folder's name is shown to clients.
      if (!Qor::isUtf8(options.stateFolder)) {
         refuse(fmt::format("state folder {}: its name is not UTF-8", options.stateFolder));
      }
      try {
         device.stateIs(options.stateFolder);
      } catch (StateRefused const& e) {
         refuse(e.what());
      } catch (error const& e) {
         refuse(fmt::format("state folder {}: {}", options.stateFolder, e.what()));
      }
   }
   start(options, device);
}

}  // namespace velm::embedded
