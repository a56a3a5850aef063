#include "platform/switch/commands/CommandTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <iterator>
#include <optional>
#include <set>

#include "platform/velm/errors.h"

// A pattern stands for several forms, with and without each of its optional parts; they are spelt out when the table is
// made:
//
//    "show ip route [vrf NAME] summary"  --->  show ip route vrf NAME summary
//                                              show ip route summary
//
// Running a command is then to find the first form that its words match, and refusing it is to find the forms that got
// furthest and to say what they would have gone on with. A grammar with a parser would do the same for nested parts,
// which no command has. A few dozen forms are compared one after the other, for a command is a person's work.
namespace velm::embedded::commands {
namespace {

using Words = std::vector<std::string_view>;
/// Words that a person could write, as a message tells them.
using Shown = std::set<std::string>;

Words wordsOf(std::string_view pattern) {
   Words words;
   while (!pattern.empty()) {
      auto const end = std::min(pattern.find(' '), pattern.size());
      if (end > 0) words.push_back(pattern.substr(0, end));
      pattern.remove_prefix(std::min(end + 1, pattern.size()));
   }
   return words;
}

constexpr std::string_view again = "...";

// The words that may be repeated at the end of a pattern.
Words repeatedWordsOf(std::string_view pattern) {
   if (!pattern.ends_with(again)) return {};
   pattern.remove_suffix(again.size() + 1);
   return wordsOf(pattern.substr(pattern.rfind('[') + 1));
}

// All forms of a pattern: with and without each of its optional parts, which do not nest.
std::vector<Words> formsOf(std::string_view pattern) {
   if (pattern.ends_with(again)) pattern.remove_suffix(again.size());
   std::vector<Words> forms(1);
   Words part;  // a word, or the words of an optional part so far
   bool optional = false;
   for (auto word : wordsOf(pattern)) {
      bool const opens = word.starts_with('[');
      bool const closes = word.ends_with(']');
      if (opens) word.remove_prefix(1);
      if (closes) word.remove_suffix(1);
      optional |= opens;
      part.push_back(word);
      if (optional && !closes) continue;
      auto without = optional ? forms : std::vector<Words>();
      for (auto& form : forms) form.insert(form.end(), part.begin(), part.end());
      std::ranges::move(without, std::back_inserter(forms));
      part.clear();
      optional = false;
   }
   return forms;
}

bool isPlaceholder(std::string_view word) { return std::isupper(static_cast<unsigned char>(word.front())) != 0; }
bool isChoice(std::string_view word) { return word.find('|') != std::string_view::npos; }

std::optional<std::uint64_t> toNumber(std::string_view text) {
   std::uint64_t number = 0;
   auto const [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
   return failure == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// "1,2,3", or "-" for none.
std::optional<std::vector<std::uint64_t>> toNumbers(std::string_view text) {
   std::vector<std::uint64_t> numbers;
   if (text == "-") return numbers;
   for (bool more = true; more;) {
      auto const comma = text.find(',');
      auto const number = toNumber(text.substr(0, comma));
      if (!number) return std::nullopt;
      numbers.push_back(*number);
      more = comma != std::string_view::npos;
      if (more) text.remove_prefix(comma + 1);
   }
   return numbers;
}

template <class Value>
bool converts(std::string const& word) {
   try {
      return !word.empty() && Value(word) == Value(word);
   } catch (error const&) {
      return false;
   }
}

/// The words that a placeholder stands for, if not for any word.
struct Kind {
   std::string_view name;
   std::string_view text;
   bool (*accepts)(std::string const& word);
};
constexpr std::array kinds{
   Kind{"INTF", "an interface", converts<intf_id_t>},
   Kind{"ADDR", "an address", converts<ip_addr_t>},
   Kind{"PREFIX", "a network", converts<ip_prefix_t>},
   Kind{"A/L", "an address with its length", converts<ip_addr_mask_t>},
   Kind{"N", "a number", [](std::string const& word) { return toNumber(word).has_value(); }},
   Kind{"N,N", "a list of numbers", [](std::string const& word) { return toNumbers(word).has_value(); }},
};
Kind const* kindOf(std::string_view placeholder) {
   auto const it = std::ranges::find(kinds, placeholder.substr(0, placeholder.find(':')), &Kind::name);
   return it == kinds.end() ? nullptr : &*it;
}

template <class Fn>
bool anyChoice(std::string_view choice, Fn fn) {
   for (bool more = true; more;) {
      auto const bar = choice.find('|');
      if (fn(choice.substr(0, bar))) return true;
      more = bar != std::string_view::npos;
      if (more) choice.remove_prefix(bar + 1);
   }
   return false;
}

bool matches(std::string_view expected, std::string const& word) {
   if (isChoice(expected)) return anyChoice(expected, [&](std::string_view choice) { return choice == word; });
   if (!isPlaceholder(expected)) return expected == word;
   auto const* kind = kindOf(expected);
   return kind == nullptr || kind->accepts(word);
}

Shown shownAs(std::string_view expected) {
   if (isChoice(expected)) {
      Shown choices;
      anyChoice(expected, [&](std::string_view choice) { return choices.emplace(choice), false; });
      return choices;
   }
   auto const* kind = isPlaceholder(expected) ? kindOf(expected) : nullptr;
   if (kind == nullptr) return {std::string(expected)};
   auto const colon = expected.find(':');
   if (colon == std::string_view::npos) return {std::string(kind->text)};
   return {fmt::format("{} ({})", kind->text, expected.substr(colon + 1))};
}

// "a", "a or b", "a, b or c".
std::string anyOf(Shown const& words) {
   std::string text;
   std::size_t left = words.size();
   for (auto const& word : words) {
      text += word;
      if (--left > 0) text += left == 1 ? " or " : ", ";
   }
   return text;
}

}  // namespace

std::string const& Arguments::text(std::string_view name) const {
   static std::string const none;
   auto const it = words_.find(name);
   return it == words_.end() ? none : it->second.front();
}

std::vector<std::string> Arguments::texts(std::string_view name) const {
   auto const it = words_.find(name);
   return it == words_.end() ? std::vector<std::string>() : it->second;
}

std::vector<std::uint64_t> Arguments::numbers(std::string_view name) const {
   return toNumbers(text(name)).value_or(std::vector<std::uint64_t>());
}

std::uint64_t Arguments::number(std::string_view name) const { return toNumber(text(name)).value_or(0); }

std::vector<std::string> splitWords(std::string_view command) {
   std::vector<std::string> words;
   bool quoted = false;
   bool inWord = false;
   for (char const c : command) {
      if (c == '"') {
         quoted = !quoted;
         if (!inWord) words.emplace_back();
         inWord = true;
      } else if (!quoted && std::isspace(static_cast<unsigned char>(c)) != 0) {
         inWord = false;
      } else {
         if (!inWord) words.emplace_back();
         inWord = true;
         words.back() += c;
      }
   }
   if (quoted) throw InvalidCommand("invalid command, a quote is not closed");
   return words;
}

CommandTable::CommandTable(std::vector<Command> const& commands) {
   for (auto const& command : commands) {
      auto const repeated = repeatedWordsOf(command.pattern);
      for (auto& words : formsOf(command.pattern))
         forms_.push_back({std::move(words), repeated, command.run, command.stage});
   }
}

std::string CommandTable::run(Session& session, std::string const& command, Stage stage) const {
   auto const words = splitWords(command);
   for (auto const& form : forms_) {
      if (!form.endsAt(words.size()) || form.reached(words) != words.size()) continue;
      if (stage != Stage::any && form.stage != Stage::any && form.stage != stage) return {};
      Arguments arguments;
      for (std::size_t i = 0; i < words.size(); ++i) {
         auto const expected = form.at(i);
         if (isPlaceholder(expected) || isChoice(expected)) arguments.words_[expected].push_back(words[i]);
      }
      return form.run(session, arguments);
   }
   throw refusal(words);
}

// Says what could have stood at the furthest word that any form reached.
InvalidCommand CommandTable::refusal(std::vector<std::string> const& words) const {
   std::size_t furthest = 0;
   for (auto const& form : forms_) furthest = std::max(furthest, form.reached(words));
   Shown expected;
   for (auto const& form : forms_) {
      if (form.reached(words) != furthest) continue;
      bool const over = form.repeated.empty() && furthest == form.words.size();
      expected.merge(over ? Shown{"the end"} : shownAs(form.at(furthest)));
   }
   return InvalidCommand(fmt::format("invalid command, expected {} {}", anyOf(expected),
                                     furthest < words.size() ? fmt::format("at '{}'", words[furthest]) : "at the end"));
}

std::string_view CommandTable::Form::at(std::size_t position) const {
   return position < words.size() ? words[position] : repeated[(position - words.size()) % repeated.size()];
}

bool CommandTable::Form::endsAt(std::size_t position) const {
   if (repeated.empty() || position < words.size()) return position == words.size();
   return (position - words.size()) % repeated.size() == 0;
}

std::size_t CommandTable::Form::reached(std::vector<std::string> const& given) const {
   std::size_t const most = repeated.empty() ? std::min(words.size(), given.size()) : given.size();
   std::size_t i = 0;
   while (i < most && matches(at(i), given[i])) ++i;
   return i;
}

}  // namespace velm::embedded::commands
