// The switch's command line: commands of its own tables, with words of their kinds, now and then spoilt.
#include <array>
#include <map>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/switch/commands/Commands.h"
#include "trials/fuzz/Choices.h"
#include "trials/fuzz/CommandLine.h"

namespace VelmSdkRpc::fuzz {
namespace {

using velm::embedded::commands::Command;
using Words = std::span<std::string_view const>;

// What placeholders take, by their kinds; any other takes names.
Words wordsOf(std::string_view kind) {
   static constexpr std::array<std::string_view, 9> intfs{
      "Ethernet1", "Ethernet2",     "Ethernet33",
      "Loopback0", "Port-Channel1", "Port-Channel2",
      "Vlan7",     "Management1",   "Ethernet4294967295/4294967295"};
   static constexpr std::array<std::string_view, 4> addresses{"10.0.0.1", "0.0.0.0", "2001:db8::1", "::"};
   static constexpr std::array<std::string_view, 5> networks{"10.0.0.0/8", "10.0.0.1/32", "0.0.0.0/0", "2001:db8::/32",
                                                             "10.0.0.0/33"};
   static constexpr std::array<std::string_view, 12> numbers{
      "0", "1", "2", "3", "7", "63", "255", "256", "65535", "65536", "4294967296", "18446744073709551615"};
   static constexpr std::array<std::string_view, 5> lists{"-", "16", "16,17", "1048576", "0,0,4294967296"};
   static constexpr std::array<std::string_view, 5> accessors{"out_octets", "in_ucast_pkts", "sample_time",
                                                              "in_pkts_not_valid", "out_bits_rate"};
   static constexpr std::array<std::string_view, 3> operations{"vapi_mgr.run_show_cmd", "vapi_mgr.run_config_cmds",
                                                               "intf_mgr.exists"};
   static constexpr std::array<std::string_view, 2> errors{"configuration_error", "error"};
   static constexpr std::array<std::string_view, 5> names{"a", "b", "red", "\"\"", "\"two words\""};
   static std::map<std::string_view, Words> const kinds{
      {"INTF", intfs},  {"ADDR", addresses}, {"PREFIX", networks},    {"A/L", networks},
      {"N", numbers},   {"N,N", lists},      {"ACCESSOR", accessors}, {"MANAGER.OPERATION", operations},
      {"ERROR", errors}};
   auto const it = kinds.find(kind);
   return it == kinds.end() ? Words(names) : it->second;
}

std::string wordOf(Choices& choices, std::string const& pattern) {
   if (choices.upTo(64) == 1) return std::string(choices.take(choices.upTo(4)));
   if (std::isupper(static_cast<unsigned char>(pattern.front())) != 0) {
      return std::string(choices.oneOf(wordsOf(pattern.substr(0, pattern.find(':')))));
   }
   std::vector<std::string> words;
   std::istringstream text(pattern);
   for (std::string word; std::getline(text, word, '|');) words.push_back(word);
   return words.size() == 1 ? words.front() : choices.oneOf(words);
}

// Optional parts are left out or not; a repeated one comes once.
std::string commandOf(Choices& choices, std::string_view pattern) {
   std::string command;
   bool here = true;
   std::istringstream text{std::string(pattern)};
   for (std::string word; text >> word;) {
      if (word.starts_with('[')) here = choices.upTo(2) == 1;
      bool const closes = word.find(']') != std::string::npos;
      std::erase_if(word, [](char c) { return c == '[' || c == ']'; });
      if (word.ends_with("...")) word.resize(word.size() - 3);
      if (here) command += (command.empty() ? "" : " ") + wordOf(choices, word);
      if (closes) here = true;
   }
   return command;
}

}  // namespace
}  // namespace VelmSdkRpc::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   namespace fuzz = VelmSdkRpc::fuzz;
   static auto const show = velm::embedded::commands::showCommands();
   static auto const configure = velm::embedded::commands::configurationCommands();
   fuzz::Choices choices(data, size);
   std::vector<std::string> lines;
   while (!choices.atEnd() && lines.size() < 40) {
      auto const& table = choices.upTo(4) == 0 ? show : configure;
      lines.push_back(fuzz::commandOf(choices, choices.oneOf(table).pattern));
   }
   fuzz::playCommands(lines);
   return 0;
}
