// The switch's command line: any text, a command to each line.
#include <string>

#include "trials/fuzz/CommandLine.h"

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
