#pragma once

#include <string>
#include <vector>

namespace velm::embedded {

class Switch;

/// The options that reach the main loop.
struct Options {
   std::string configFile;           // empty for none
   std::string stateFolder;          // empty for none
   std::vector<std::string> traces;  // "facility/levels"
};

/// Ends the process itself: with status 0 for --help and --version, with a message and status 2 for anything else that
/// is not one of its options. argv need not be closed by a null pointer.
Options readOptions(int argc, char** argv);

/// Sets the traces and carries the configuration out, each line of the file one command, empty lines and those that
/// begin with '!' left out. Ends the process with a message and status 2 for one that fails.
void applyOptions(Options const& options, Switch& device);

}  // namespace velm::embedded
