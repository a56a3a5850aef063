// velmctl: the agent's services for people.
//
// A run goes this road: the command line is read first, and yields an action and the options; the action gets a
// Session, which connects when it is first asked to, makes calls by the compiled schemas, and puts what came into
// Output. Whatever fails throws; `fail` tells it to people on standard error and to programs in the result, and chooses
// the exit status.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>
#include <vector>

#include "clients/velmctl/Catalogue.h"
#include "clients/velmctl/Commands.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/Failure.h"
#include "clients/velmctl/Interrupt.h"
#include "clients/velmctl/Session.h"

namespace VelmSdkRpc::ctl {
namespace {

/// The form of output that was asked for, also on a command line that is wrong.
Output::Form formAskedFor(std::span<char* const> arguments) {
   std::string_view asked;
   for (std::size_t i = 1; i < arguments.size(); ++i) {
      std::string_view const argument(arguments[i]);
      bool const takesNext = (argument == "-o" || argument == "--output") && i + 1 < arguments.size();
      if (takesNext) asked = arguments[i + 1];
      if (argument.starts_with("--output=")) asked = argument.substr(argument.find('=') + 1);
      if (argument.starts_with("-o") && argument.size() > 2) asked = argument.substr(2);
   }
   if (asked == "json") return Output::Form::json;
   return asked == "jsonl" ? Output::Form::jsonLines : Output::Form::table;
}

/// Tells what went wrong: people on standard error, programs in the result.
int fail(Session& session, std::exception const& exception) {
   auto const failure = failureOf(exception);
   session.output().failure(failure.error);
   std::fflush(stdout);
   fmt::print(stderr, "{} {}\n", session.standardError().alarming("velmctl:"), failure.message);
   return failure.exitStatus;
}

int perform(Session& session, Action const& action) {
   try {
      action(session);
      session.output().flush();
      return ExitStatus::ok;
   } catch (std::exception const& e) {
      return fail(session, e);
   }
}

/// Words a mistake in the command line; the parser's own words for a wrong command do not help.
UsageError usageError(CLI::App const& app, CLI::ParseError const& error) {
   auto const* command = &app;
   while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
   auto const rest = app.remaining(true);
   auto const commands = command->get_subcommands([](CLI::App const* each) { return !each->get_group().empty(); });
   if (rest.empty() || commands.empty()) return UsageError(fmt::format("{} (--help tells more)", error.what()));
   std::vector<std::string> names(commands.size());
   std::ranges::transform(commands, names.begin(), &CLI::App::get_name);
   return UsageError(fmt::format("no command \"{}\"{}; there are {}", rest.front(), suggestion(rest.front(), names),
                                 fmt::join(names, ", ")));
}

int run(int argc, char** argv) {
   Interrupt interrupt;  // before gRPC has threads
   CLI::App app("Programs and watches a switch through its agent.", "velmctl");
   app.set_version_flag("--version", "velmctl " VELM_VERSION, "Tell the version and end");
   app.require_subcommand(1);
   app.footer(
      "Exit status: 0; 1 the request was refused; 2 wrong usage, nothing was sent; 3 a file of this side failed;\n"
      "64 and the number of the gRPC status of a call that failed; 130 interrupted.");
   CommandLine line;
   if (auto const* const address = std::getenv("VELMCTL_ADDRESS")) line.options.address = address;
   Commands const commands(app, line);
   addSchemaCommands(commands);
   addCallCommands(commands);
   addShortForms(commands);
   addSessionWatch(commands);
   addSwitchCommands(commands);
   addLoadCommand(commands);
   addBenchCommand(commands);
   addCompletionCommands(commands);
   addCommonOptions(app, line.options);
   try {
      app.parse(argc, argv);
   } catch (CLI::Success const& e) {
      return app.exit(e);
   } catch (CLI::ParseError const& e) {
      Options options;
      options.form = formAskedFor({argv, static_cast<std::size_t>(argc)});
      Session session(options, interrupt);
      return fail(session, usageError(app, e));
   }
   Session session(line.options, interrupt);
   return perform(session, line.action);
}

}  // namespace
}  // namespace VelmSdkRpc::ctl

// An exception that comes before a command is known ends the process, as any uncaught one does.
int main(int argc, char** argv) { return VelmSdkRpc::ctl::run(argc, argv); }  // NOLINT(bugprone-exception-escape)
