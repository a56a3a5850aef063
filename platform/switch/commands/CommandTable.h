#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"

namespace velm::embedded {
class Switch;
}

namespace velm::embedded::commands {

/// A command that cannot be parsed; what() says what was expected, and where.
class InvalidCommand : public std::runtime_error {
 public:
   using runtime_error::runtime_error;
};

/// The state that the commands of one list share.
struct Session {
   Switch& device;
   intf_id_t intf;  // what `interface` has chosen; the empty id for none
};

/// The words of a command that stand for the placeholders of its pattern. A placeholder's kind follows from its name
/// (see Command), so the words are known to convert.
class Arguments {
 public:
   bool has(std::string_view name) const { return words_.contains(name); }
   /// The word; empty if its optional part was left out.
   std::string const& text(std::string_view name) const;
   /// All words of a part that may be repeated, in order.
   std::vector<std::string> texts(std::string_view name) const;
   std::uint64_t number(std::string_view name) const;
   std::vector<std::uint64_t> numbers(std::string_view name) const;
   intf_id_t intf(std::string_view name) const { return intf_id_t(text(name)); }
   ip_addr_t addr(std::string_view name) const { return ip_addr_t(text(name)); }
   ip_prefix_t prefix(std::string_view name) const { return ip_prefix_t(text(name)); }
   ip_addr_mask_t mask(std::string_view name) const { return ip_addr_mask_t(text(name)); }

 private:
   friend class CommandTable;
   std::map<std::string_view, std::vector<std::string>> words_;
};

/// When a line of the configuration with which the agent starts is carried out: before the dataplane takes the
/// machine's ports over, or with these there. Commands of a running agent are carried out at any time.
enum class Stage { any, beforePorts, withPorts };

/// A row of a command table. The pattern is what a manual would print: lower-case words stand for themselves, `a|b` is
/// a choice that is bound under its own text, `[...]` may be left out, `[...]...` at the end may also be repeated, and
/// a word in capitals is a placeholder: INTF an interface, ADDR an address, PREFIX a network, A/L an address with its
/// length, N a number, N,N a list of numbers of which `-` is the empty one, anything else any word. What follows a
/// colon tells placeholders of one kind apart, as in `N:min N:max`.
struct Command {
   std::string_view pattern;
   /// Carries the command out and gives its answer as JSON. Throws velm::error if the switch refuses it.
   std::string (*run)(Session& session, Arguments const& arguments);
   Stage stage = Stage::withPorts;
};

/// Finds the row that a command matches and runs it; the first one wins.
class CommandTable {
 public:
   explicit CommandTable(std::vector<Command> const& commands);

   /// Nothing, without a look at the switch, if the command is one of another stage. Throws InvalidCommand for text
   /// that matches no row, else whatever the command throws.
   std::string run(Session& session, std::string const& command, Stage stage = Stage::any) const;

 private:
   /// A pattern without its optional parts, or with them.
   struct Form {
      std::vector<std::string_view> words;
      std::vector<std::string_view> repeated;  // what may follow any number of times
      std::string (*run)(Session&, Arguments const&);
      Stage stage;

      /// The word at a position, which is one of the words or follows them by repetition.
      std::string_view at(std::size_t position) const;
      bool endsAt(std::size_t position) const;
      /// How many of the words match.
      std::size_t reached(std::vector<std::string> const& given) const;
   };

   InvalidCommand refusal(std::vector<std::string> const& words) const;

   std::vector<Form> forms_;
};

/// The words of a command: runs of non-blanks, text in double quotes one word. Throws InvalidCommand for a quote that
/// is not closed.
std::vector<std::string> splitWords(std::string_view command);

}  // namespace velm::embedded::commands
