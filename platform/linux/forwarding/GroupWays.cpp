#include "platform/linux/forwarding/GroupWays.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

// A member's share is cut into parts of this, so that an entry that leads through a group weighs what others do.
constexpr std::uint64_t wholeWeight = 1U << 16;

class Finder {
 public:
   Finder(std::string const& name, EntriesOfGroup const& entriesOfGroup)
      : entriesOfGroup_(entriesOfGroup), path_{name} {}

   // Depth first; the path has the names on the way, so that a way that comes back to one of them is seen.
   void add(std::vector<EntryForm> const& entries, std::uint64_t weight) {
      if (entries.empty()) return count();
      std::uint64_t shares = 0;
      for (auto const& entry : entries) shares += entry.share;
      for (auto const& entry : entries) {
         if (path_.size() == 1) entry_ = entry.index;
         auto const each = std::max<std::uint64_t>(1, weight * entry.share / shares);
         if (entry.child.empty()) {
            count();
            ways_.push_back({entry.neighbour, entry.form, static_cast<std::uint32_t>(each), entry_});
         } else {
            addThrough(entry, each);
         }
      }
   }
   std::vector<Way> take() { return std::move(ways_); }

 private:
   void addThrough(EntryForm const& entry, std::uint64_t weight) {
      if (std::ranges::find(path_, entry.child) != path_.end()) {
         throw configuration_error(
            fmt::format("nexthop group {} leads through {} to itself", entry.child, path_.back()));
      }
      if (path_.size() == deepestGroup) {
         throw unsupported_error(fmt::format("nexthop group {} leads through more than {} others, one behind the other",
                                             path_.front(), deepestGroup - 1));
      }
      auto const first = ways_.size();
      path_.push_back(entry.child);
      if (auto const* const entries = entriesOfGroup_(entry.child); entries != nullptr) add(*entries, weight);
      path_.pop_back();
      for (auto& way : std::span(ways_).subspan(first)) {
         if (pushWithin(way.form, entry.form)) continue;
         throw configuration_error(fmt::format("the tunnel of nexthop group {} carries no labels", entry.child));
      }
   }

   // Ways that end in a group without any count as well: they take time.
   void count() {
      if (++found_ > mostWays) {
         throw unsupported_error(fmt::format("nexthop group {} has more than {} ways out", path_.front(), mostWays));
      }
   }

   EntriesOfGroup const& entriesOfGroup_;
   std::vector<std::string_view> path_;
   std::vector<Way> ways_;
   std::size_t found_ = 0;
   unsigned short entry_ = 0;  // of the first group on the path
};

}  // namespace

std::vector<Way> waysOf(std::string const& name, std::vector<EntryForm> const& entries,
                        EntriesOfGroup const& entriesOfGroup) {
   Finder finder(name, entriesOfGroup);
   finder.add(entries, entries.size() * wholeWeight);
   return finder.take();
}

}  // namespace velm::machine
