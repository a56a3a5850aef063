#pragma once

#include <vector>

#include "platform/switch/commands/CommandTable.h"

namespace velm::embedded::commands {

/// The commands of run_show_cmd.
std::vector<Command> showCommands();
/// The commands of run_config_cmds: configuration, and the world outside the switch.
std::vector<Command> configurationCommands();

// The tables that these are made of.
std::vector<Command> switchShowCommands();
std::vector<Command> switchConfigurationCommands();
std::vector<Command> intfShowCommands();
std::vector<Command> intfConfigurationCommands();
std::vector<Command> lagShowCommands();
std::vector<Command> lagConfigurationCommands();
std::vector<Command> macsecShowCommands();
std::vector<Command> macsecConfigurationCommands();
std::vector<Command> routeShowCommands();
std::vector<Command> routeConfigurationCommands();
std::vector<Command> bgpShowCommands();
std::vector<Command> bgpConfigurationCommands();
std::vector<Command> sbfdShowCommands();
std::vector<Command> sbfdConfigurationCommands();
std::vector<Command> aclShowCommands();
std::vector<Command> aclConfigurationCommands();
std::vector<Command> policyShowCommands();
std::vector<Command> policyConfigurationCommands();

}  // namespace velm::embedded::commands
