// The switch's command line: any text, a command to each line.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "platform/switch/commands/Commands.h"
#include "trials/fuzz/Choices.h"
#include "trials/fuzz/CommandLine.h"

namespace {

// The words of all commands and some that they take, as the fuzzer reads a dictionary.
void printDictionary() {
   std::set<std::string> words{"Ethernet1", "Port-Channel1", "Vlan7",      "Loopback0", "10.0.0.1", "2001:db8::1/64",
                               "0.0.0.0/0", "65536",         "4294967296", "16,17",     "-",        "\\x0a"};
   auto patterns = velm::embedded::commands::showCommands();
   for (auto const& command : velm::embedded::commands::configurationCommands()) patterns.push_back(command);
   for (auto const& command : patterns) {
      std::string pattern(command.pattern);
      std::ranges::replace_if(
         pattern, [](char c) { return c == '|' || c == '[' || c == ']'; }, ' ');
      std::istringstream text(pattern);
      words.insert(std::istream_iterator<std::string>(text), {});
   }
   for (auto const& word : words) std::printf("\"%s \"\n", word.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
   if (*argc == 2 && std::string_view((*argv)[1]) == "--print-dictionary") {
      printDictionary();
      std::exit(0);
   }
   return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   std::vector<std::string> lines(1);
   for (std::size_t i = 0; i < size; ++i) {
      if (data[i] == '\n') {
         lines.emplace_back();
      } else {
         lines.back() += static_cast<char>(data[i]);
      }
   }
   VelmSdkRpc::fuzz::playCommands(lines);
   return 0;
}
