// The switch's command line: commands of its own tables, with words of their kinds, now and then spoilt.
#include <string>
#include <vector>

#include "platform/switch/commands/Commands.h"
#include "trials/fuzz/Choices.h"
#include "trials/fuzz/CommandLine.h"
#include "trials/support/AnyCommand.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   namespace fuzz = VelmSdkRpc::fuzz;
   static auto const show = velm::embedded::commands::showCommands();
   static auto const configure = velm::embedded::commands::configurationCommands();
   fuzz::Choices choices(data, size);
   VelmSdkRpc::AnyMessage any(choices.draw());
   std::vector<std::string> lines;
   while (!choices.atEnd() && lines.size() < 40) {
      auto const& table = choices.upTo(4) == 0 ? show : configure;
      lines.push_back(VelmSdkRpc::trials::filled(any, choices.oneOf(table).pattern));
   }
   fuzz::playCommands(lines);
   return 0;
}
