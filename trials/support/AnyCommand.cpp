#include "trials/support/AnyCommand.h"

#include <absl/strings/str_split.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <vector>

#include "platform/switch/commands/Commands.h"

namespace VelmSdkRpc::trials {
namespace {

using velm::embedded::commands::Command;

std::string oneOf(AnyMessage& any, std::initializer_list<char const*> texts) {
   return texts.begin()[any.upTo(static_cast<std::uint32_t>(texts.size()))];
}

std::string quoted(std::string const& text) {
   return text.empty() || text.find(' ') != std::string::npos ? '"' + text + '"' : text;
}

std::string host(AnyMessage& any) {
   return oneOf(any, {"10.0.0.1", "10.0.0.2", "192.0.2.1", "2001:db8::1", "0.0.0.0", "::"});
}

std::string number(AnyMessage& any) {
   if (any.oneIn(8)) return std::to_string(~0ULL >> any.upTo(64));
   return std::to_string(any.upTo(any.oneIn(4) ? 5000 : any.oneIn(2) ? 10 : 4));
}

// A word for a placeholder of the kind.
std::string wordOf(AnyMessage& any, std::string_view kind) {
   if (kind == "INTF") return quoted(anyIntf(any));
   if (kind == "ADDR") return host(any);
   if (kind == "A/L") return host(any) + oneOf(any, {"/24", "/32", "/0", "/129"});
   if (kind == "PREFIX") {
      return oneOf(any, {"10.0.0.0/8", "10.1.0.0/16", "192.0.2.1/32", "2001:db8::/32", "0.0.0.0/0", "::/0"});
   }
   if (kind == "N") return number(any);
   if (kind == "N,N") return oneOf(any, {"-", "16", "16,17", "1048575", "1048576", "0,0,4294967296"});
   if (kind == "NHG") return quoted(anyGroup(any));
   if (kind == "VRF") return quoted(anyVrf(any));
   if (kind == "ACCESSOR") {
      return oneOf(any, {"out_octets", "in_ucast_pkts", "sample_time", "in_pkts_not_valid", "out_bits_rate"});
   }
   if (kind == "MANAGER.OPERATION") {
      return oneOf(any, {"vapi_mgr.run_show_cmd", "vapi_mgr.run_config_cmds", "intf_mgr.exists"});
   }
   if (kind == "ERROR") return oneOf(any, {"configuration_error", "error"});
   return quoted(anyName(any));
}

bool isHarmless(Command const& command) {
   auto const& pattern = command.pattern;
   return pattern != "agent disable" && !pattern.starts_with("simulate fail") && !pattern.starts_with("simulate vapi");
}

std::string anyOf(AnyMessage& any, std::vector<Command> const& commands) {
   return filled(any, commands[any.upTo(static_cast<std::uint32_t>(commands.size()))].pattern);
}

}  // namespace

std::string anyIntf(AnyMessage& any) {
   if (any.oneIn(40)) return {};
   return oneOf(any, {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet1", "Ethernet2", "Ethernet32",
                      "Ethernet33", "Port-Channel1", "Port-Channel2", "Loopback0", "Loopback7", "Management1",
                      "Vlan100", "Ethernet3/1", "Ethernet4294967295/4294967295", "nowhere"});
}

std::string anyGroup(AnyMessage& any) {
   return any.oneIn(30) ? std::string() : fmt::format("{}{}", any.oneIn(6) ? "h" : "g", any.upTo(4));
}

std::string anyVrf(AnyMessage& any) { return oneOf(any, {"", "", "red", "blue"}); }

std::string anyName(AnyMessage& any) {
   return oneOf(any, {"a", "b", "c", "p", "cbf", "m", "g0", "g0-g1", "g1-g0", "", "two words", "gr\u00fc\u00dfe"});
}

std::string filled(AnyMessage& any, std::string_view pattern) {
   std::string command;
   bool here = true;
   std::vector<std::string> const words = absl::StrSplit(std::string(pattern), ' ');
   for (auto word : words) {
      if (word.starts_with('[')) here = any.upTo(2) == 1;
      bool const closes = word.find(']') != std::string::npos;
      std::erase_if(word, [](char c) { return c == '[' || c == ']'; });
      if (word.ends_with("...")) word.resize(word.size() - 3);
      if (here) {
         std::vector<std::string> const choices = absl::StrSplit(word, '|');
         bool const isPlaceholder = std::isupper(static_cast<unsigned char>(word.front())) != 0;
         command += command.empty() ? "" : " ";
         command += isPlaceholder ? wordOf(any, word.substr(0, word.find(':')))
                                  : choices[any.upTo(static_cast<std::uint32_t>(choices.size()))];
      }
      if (closes) here = true;
   }
   auto const place = [&] { return any.upTo(static_cast<std::uint32_t>(command.size() + 1)); };
   if (any.oneIn(40)) command.insert(place(), any.oneIn(2) ? " " : "\"");
   if (any.oneIn(40)) command.resize(place());
   return command;
}

std::string anyShowCommand(AnyMessage& any) {
   static auto const commands = velm::embedded::commands::showCommands();
   return anyOf(any, commands);
}

std::string anyConfigCommand(AnyMessage& any) {
   static auto const commands = [] {
      auto all = velm::embedded::commands::configurationCommands();
      std::erase_if(all, [](auto const& command) { return !isHarmless(command); });
      return all;
   }();
   return anyOf(any, commands);
}

}  // namespace VelmSdkRpc::trials
