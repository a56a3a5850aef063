#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "clients/velmctl/Session.h"

namespace VelmSdkRpc::ctl {

using Action = std::function<void(Session&)>;

/// Gives the words that could stand where one is being typed, by the positional words before it and its beginning.
using Completer = std::function<std::vector<std::string>(std::vector<std::string> const& before, std::string const&)>;

/// The outcome of reading the command line.
struct CommandLine {
   Options options;
   Action action;  // of the command that was typed
   std::map<CLI::App const*, Completer> completers;
};

/// Where commands are added: the program, or a command that has commands of its own.
class Commands {
 public:
   Commands(CLI::App& app, CommandLine& line) : app_(app), line_(line) {}

   /// A command that does something. All its options are bound to what the action holds.
   CLI::App& add(std::string const& name, std::string const& description, Action action,
                 Completer completer = nullptr) const;
   /// A command that has commands of its own, made when it is first asked for.
   Commands group(std::string const& name, std::string const& description) const;

   CommandLine& line() const { return line_; }
   CLI::App& app() const { return app_; }

 private:
   CLI::App& app_;
   CommandLine& line_;
};

/// Options that the program and all of its commands take, wherever they stand.
void addCommonOptions(CLI::App& app, Options& options);

/// The command of that name among those that the app has; null if there is none.
CLI::App* findCommand(CLI::App& app, std::string const& name);

void addSchemaCommands(Commands const& commands);      // list, describe
void addCallCommands(Commands const& commands);        // call, watch
void addShortForms(Commands const& commands);          // init, resync, route, nhg, mpls, tunnel, sbfd, cbf
void addSessionWatch(Commands const& commands);        // sbfd watch
void addSwitchCommands(Commands const& commands);      // show, config
void addLoadCommand(Commands const& commands);         // load
void addBenchCommand(Commands const& commands);        // bench
void addCompletionCommands(Commands const& commands);  // completion, complete

}  // namespace VelmSdkRpc::ctl
