#include "clients/velmctl/LoadFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "clients/support/Address.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/File.h"
#include "clients/velmctl/Nexthop.h"

// A route is kept as a few bytes and a view of its group's name in the file's content, which stays in memory: a million
// of them take no allocation each. Groups are few, and are kept as messages.
namespace VelmSdkRpc::ctl {
namespace {

constexpr std::string_view blanks = " \t\r";

/// Takes the first word off the text; empty at its end.
std::string_view nextWord(std::string_view& text) {
   text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
   auto const word = text.substr(0, text.find_first_of(blanks));
   text.remove_prefix(word.size());
   return word;
}

}  // namespace

LoadFile::LoadFile(std::string const& path) : content_(contentOf(path)) {
   for (std::size_t begin = 0; begin < content_.size();) {
      lines_.push_back(begin);
      auto const number = static_cast<std::uint32_t>(lines_.size());
      auto const text = line(number);
      try {
         read(text);
      } catch (UsageError const& e) {
         throw UsageError(fmt::format("{}:{}: {}", path, number, e.what()));
      }
      begin += text.size() + 1;
   }
}

std::string_view LoadFile::line(std::uint32_t number) const {
   auto const rest = std::string_view(content_).substr(lines_[number - 1]);
   return rest.substr(0, rest.find('\n'));
}

void LoadFile::read(std::string_view line) {
   auto text = line.substr(0, line.find('#'));
   auto const first = nextWord(text);
   if (first.empty()) return;
   if (first == "nhg") {
      auto& group = groups_.emplace_back(Group{static_cast<std::uint32_t>(lines_.size()), {}});
      group.message.set_name(std::string(nextWord(text)));
      for (auto word = nextWord(text); !word.empty(); word = nextWord(text)) {
         *group.message.add_nexthop() = nexthopOf(word);
      }
      if (group.message.nexthop().empty()) throw UsageError("expected nhg NAME NEXTHOP...");
      return;
   }
   auto const group = nextWord(text);
   if (auto const more = nextWord(text); group.empty() || !more.empty()) {
      throw UsageError(fmt::format("expected PREFIX GROUP, not \"{}\"", line));
   }
   readRoute(first, group);
}

void LoadFile::readRoute(std::string_view prefix, std::string_view group) {
   Route route{};
   route.line = static_cast<std::uint32_t>(lines_.size());
   if (group != "-") route.group = group;
   try {
      auto const [address, length] = networkOf(prefix);
      route.addressSize = static_cast<std::uint8_t>(address.copy(route.address, sizeof route.address));
      route.prefixLength = static_cast<std::uint8_t>(length);
   } catch (std::invalid_argument const& e) {
      throw UsageError(e.what());
   }
   routes_.push_back(route);
}

}  // namespace VelmSdkRpc::ctl
