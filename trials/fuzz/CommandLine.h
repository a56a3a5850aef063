#pragma once

#include <string>
#include <vector>

namespace VelmSdkRpc::fuzz {

/// Gives the lines to a switch's command line, those that begin with "show" singly and what stands between them as one
/// list of configuration. Ends the process where an answer is not what the command line promises, or where a command
/// that was refused has changed something: a second switch is given only what the first one has carried out.
void playCommands(std::vector<std::string> const& lines);

}  // namespace VelmSdkRpc::fuzz
