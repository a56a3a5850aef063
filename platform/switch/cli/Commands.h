#pragma once

#include <vector>

#include "platform/switch/cli/CommandTable.h"

namespace velm::embedded::cli {

/// What run_show_cmd understands.
std::vector<Command> showCommands();
/// What run_config_cmds understands: configuration, and the world outside the switch.
std::vector<Command> configurationCommands();

// The tables that these are made of.
std::vector<Command> switchShowCommands();
std::vector<Command> switchConfigurationCommands();

}  // namespace velm::embedded::cli
