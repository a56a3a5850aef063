// completion prints the shell's part of completion, which asks `complete` for what could be typed.

#include <fmt/format.h>

#include <memory>

#include "clients/velmctl/Commands.h"
#include "clients/velmctl/Embedded.h"

// The command line is walked without the parser, which would refuse it: what is being typed is not complete. The walk
// knows just enough of the parser's rules, options that take a value and commands within commands, to tell which
// command a word belongs to and how many positional words stand before it.
namespace VelmSdkRpc::ctl {
namespace {

/// Walks the words before the one being typed, as the parser would.
struct Walk {
   CLI::App* app;
   std::vector<std::string> positionals;  // of the command
   CLI::Option* open = nullptr;           // an option whose value comes next
};

Walk walk(CLI::App& program, std::vector<std::string> const& words) {
   Walk result{&program, {}, nullptr};
   for (std::size_t i = 1; i + 1 < words.size(); ++i) {
      auto const& word = words[i];
      if (result.open != nullptr) {
         result.open = nullptr;
      } else if (word.size() > 1 && word.starts_with('-')) {
         auto* const option = result.app->get_option_no_throw(word);
         if (option != nullptr && option->get_items_expected_max() > 0) result.open = option;
      } else if (auto* const command = findCommand(*result.app, word)) {
         result.app = command;
      } else {
         result.positionals.push_back(word);
      }
   }
   return result;
}

std::vector<std::string> optionsOf(CLI::App const& app) {
   std::vector<std::string> names;
   for (auto const* option : app.get_options([](CLI::Option const* each) { return !each->get_lnames().empty(); })) {
      for (auto const& name : option->get_lnames()) names.push_back("--" + name);
   }
   return names;
}

std::vector<std::string> valuesOf(CLI::Option const& option) {
   if (option.check_lname("output")) return {"json", "jsonl", "table"};
   if (option.check_lname("color")) return {"always", "auto", "never"};
   return {};
}

std::vector<std::string> candidates(CLI::App& program, CommandLine const& line, std::vector<std::string> const& words) {
   auto const at = walk(program, words);
   auto const& beginning = words.back();
   if (at.open != nullptr) return valuesOf(*at.open);
   if (beginning.starts_with('-')) return optionsOf(*at.app);
   std::vector<std::string> found;
   for (auto const* command :
        at.app->get_subcommands([](CLI::App const* each) { return !each->get_group().empty(); })) {
      found.push_back(command->get_name());
   }
   auto const completer = line.completers.find(at.app);
   if (completer != line.completers.end()) found = completer->second(at.positionals, beginning);
   return found;
}

}  // namespace

void addCompletionCommands(Commands const& commands) {
   auto const shell = std::make_shared<std::string>();
   commands
      .add(
         "completion", "Print the script that completes words of velmctl",
         [shell](Session&) { fmt::print("{}", embeddedCompletion()); },
         [](auto const& before, auto const&) {
            return before.empty() ? std::vector<std::string>{"bash"} : std::vector<std::string>();
         })
      .add_option("SHELL", *shell, "bash")
      ->required()
      ->check([](std::string const& name) { return name == "bash" ? std::string() : "only bash is known"; })
      ->option_text(" ");

   auto const words = std::make_shared<std::vector<std::string>>();
   auto const complete = [words, &program = commands.app(), &line = commands.line()](Session&) {
      if (words->empty()) return;
      for (auto const& word : candidates(program, line, *words)) {
         if (word.starts_with(words->back())) fmt::print("{}\n", word);
      }
   };
   commands.add("complete", "What could be typed", complete)
      .group({})  // for the script alone
      ->add_option("WORD", *words, "The command line up to the word that is being typed");
}

}  // namespace VelmSdkRpc::ctl
