#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>

#include "platform/loom/Task.h"
#include "platform/qor/HashMap2018Iterator.h"

namespace Loom {

/// The outcome of one drain of a backlog.
struct ZuBacklogProgress {
   bool yielded = false;         ///< stopped early, with work left
   std::uint32_t pending = 0;    ///< entries left; 0 unless yielded
   std::uint32_t processed = 0;  ///< entries handled

   std::string toStdString() const {
      return fmt::format("yielded={} pending={} processed={}", yielded, pending, processed);
   }
   bool operator==(ZuBacklogProgress const&) const = default;
};

namespace Impl {

/// Says whether a backlog's task has used up its quantum.
class ZuBacklogTaskShouldYield {
 public:
   explicit ZuBacklogTaskShouldYield(Task const& task) : task_(task) {}
   bool operator()() const { return task_.taskShouldYield(); }

 private:
   Task const& task_;
};

/// Hands the map's members to processOne(key, value), in the order of the walk, until shouldYield() or none is left,
/// and removes what was handed over; at least one is. A walk that yields leaves the key that it got to in resumeKey,
/// where the next one starts and from where it goes round to the beginning; the sentinel stands for the beginning
/// itself. processOne may change the value, but not the map. If it throws, what was handed over stays.
///
/// The members handed over are removed in one go after the walk, and not entry by entry, since the walk must not meet a
/// change of the map.
template <class Map, class ShouldYield, class ProcessOne>
ZuBacklogProgress _processBacklog(Map& map, typename Map::Key& resumeKey, typename Map::Key const& sentinel,
                                  ShouldYield const& shouldYield, ProcessOne const& processOne) {
   using Iterator = Qor::HashMap2018UnsafeIteratorConstGeneric<Map>;
   ZuBacklogProgress progress;
   while (map.members() != 0) {
      bool const resuming = !(resumeKey == sentinel);
      auto it = resuming ? Iterator(map, resumeKey) : Iterator(map);
      for (; it && !(progress.processed != 0 && shouldYield()); it.advance()) {
         ++progress.processed;
         processOne(it.currNode().key(), it.currNode().value());
      }
      if (it) {
         auto const next = it.currNode().key();
         resuming ? map.memberDelRangeG(resumeKey, next) : map.memberDelRangeG(Qor::StartOfCollection(), next);
         resumeKey = next;
         return {
            .yielded = true, .pending = static_cast<std::uint32_t>(map.members()), .processed = progress.processed};
      }
      resuming ? map.memberDelRangeG(resumeKey) : map._memberDelAll();
      resumeKey = sentinel;
   }
   return progress;
}

}  // namespace Impl
}  // namespace Loom

template <>
struct fmt::formatter<Loom::ZuBacklogProgress> : formatter<std::string> {
   auto format(Loom::ZuBacklogProgress const& progress, format_context& context) const {
      return formatter<std::string>::format(progress.toStdString(), context);
   }
};
