#include "platform/switch/commands/Commands.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

// The first form that matches wins. Within a table that decides where a word could be taken for a name, as `tunnel` in
// `show nexthop-group tunnel`; no two tables have a command in common, so their own order is free.
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
