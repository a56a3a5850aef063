#include "trials/fuzz/CommandLine.h"

#include <fmt/format.h>

#include "platform/switch/commands/CommandTable.h"
#include "trials/fuzz/Choices.h"
#include "trials/fuzz/Device.h"

namespace VelmSdkRpc::fuzz {
namespace {

using Lines = std::vector<std::string>;

// A switch that is told to sleep sleeps.
bool sleeps(std::string const& line) try {
   auto const words = velm::embedded::commands::splitWords(line);
   return words.size() == 4 && words[1] == "vapi" && words[2] == "delay";
} catch (velm::embedded::commands::InvalidCommand const&) {
   return false;
}

void check(velm::vapi_response_t const& response, Lines const& commands) {
   auto const done = response.responses().size();
   for (auto const& json : response.responses()) parsed(json);
   expect(parsed(response.raw_response()).GetArray().Size() == done, "{} answers in {}", done, response.raw_response());
   if (response.success()) {
      expect(done == commands.size() && response.error_message().empty(), "{} of {} answers, {}", done, commands.size(),
             response.error_message());
      return;
   }
   auto const front = fmt::format("command {} of {} '{}' failed: ", done + 1, commands.size(), commands.at(done));
   expect(
      (response.error_code() == 1000 || response.error_code() == 1001) && response.error_message().starts_with(front),
      "error {} '{}', where '{}' was expected", response.error_code(), response.error_message(), front);
}

/// A switch, and one that is spared what the first one refuses.
class Twins {
 public:
   void configure(Lines commands) {
      if (commands.empty()) return;
      try {
         auto const response = device_.vapi.run_config_cmds(commands);
         check(response, commands);
         commands.resize(response.responses().size());
      } catch (velm::error const&) {
         commands.clear();  // was to fail
      }
      // The next failure of a call is not a state of the switch that both could share.
      device_.ledger.clearFaults();
      auto const response = spared_.vapi.run_config_cmds(commands);
      spared_.ledger.clearFaults();
      expect(response.success(), "good for one switch: {}", response.error_message());
   }
   void show(std::string const& command) { check(device_.vapi.run_show_cmd(command), {command}); }
   void compare() {
      auto const shown = device_.show(storedTables());
      auto const expected = spared_.show(storedTables());
      expect(shown == expected, "a refusal has left a trace:\n{}\nand not\n{}", shown, expected);
      device_.turn();
      device_.show(storedTables());
   }

 private:
   Device device_;
   Device spared_;
};

}  // namespace

void playCommands(Lines const& lines) {
   Twins twins;
   Lines commands;
   for (auto const& line : lines) {
      if (sleeps(line)) continue;
      if (!line.starts_with("show")) {
         commands.push_back(line);
         continue;
      }
      twins.configure(std::exchange(commands, {}));
      twins.show(line);
   }
   twins.configure(commands);
   twins.compare();
}

}  // namespace VelmSdkRpc::fuzz
