#include "platform/switch/commands/Commands.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace velm::embedded::commands {
namespace {

std::vector<Command> joined(std::initializer_list<std::vector<Command>> tables) {
   std::vector<Command> all;
   for (auto const& table : tables) std::ranges::copy(table, std::back_inserter(all));
   return all;
}

}  // namespace

std::vector<Command> showCommands() {
   return joined({
      switchShowCommands(),
      intfShowCommands(),
      lagShowCommands(),
      macsecShowCommands(),
      routeShowCommands(),
      bgpShowCommands(),
      sbfdShowCommands(),
      aclShowCommands(),
      policyShowCommands(),
   });
}

std::vector<Command> configurationCommands() {
   return joined({
      switchConfigurationCommands(),
      intfConfigurationCommands(),
      lagConfigurationCommands(),
      macsecConfigurationCommands(),
      routeConfigurationCommands(),
      bgpConfigurationCommands(),
      sbfdConfigurationCommands(),
      aclConfigurationCommands(),
      policyConfigurationCommands(),
   });
}

}  // namespace velm::embedded::commands
