#pragma once

#include <string>
#include <vector>

#include "platform/switch/Dataplane.h"

namespace velm::embedded {

class Switch;

/// The options that reach the main loop.
struct Options {
   std::string dataplane = "simulated";
   DataplaneCapacity capacity;
   std::string configFile;           // empty for none
   std::string stateFolder;          // empty for none
   std::vector<std::string> traces;  // "facility/levels"
};

/// Ends the process itself: with status 0 for --help and --version, with a message and status 2 for anything else that
/// is not one of its options. argv need not be closed by a null pointer.
Options readOptions(int argc, char** argv);

/// Sets the traces, has the dataplane made, brings the state back and carries the configuration out, each line of the
/// file one command, empty lines and those that begin with '!' left out. Ends the process with a message and status 2
/// for one that fails.
void applyOptions(Options const& options, DataplaneFactory const& make, Switch& device);

/// Ends the process with status 2 and the message as one line on stderr.
[[noreturn]] void refuse(std::string const& message);

}  // namespace velm::embedded
