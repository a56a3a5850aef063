#pragma once

#include <absl/container/btree_map.h>

#include <cstddef>
#include <cstdint>
#include <limits>

namespace velm::embedded {

/// Things to do, ordered by their tick and, within one tick, by when they were asked for. An entry stands at one tick
/// at most and leaves no trace when it is taken out or put elsewhere, and only the first entry of a tick costs an
/// allocation. Entries are not owned; one that stands here must neither move nor go. Not thread-safe.
///
///    ticks_    1000 ---> a - b - c        the entries of a tick are linked with each other
///              1007 ---> d
///              2000 ---> e - f
///
/// A map and no ring of slots: ticks lie anywhere between now and hours ahead, and few of them have entries.
class TickWheel {
 public:
   using Tick = std::int64_t;
   static constexpr Tick never = std::numeric_limits<Tick>::max();

   class Entry {
    public:
      Entry() = default;
      Entry(Entry const&) = delete;
      Entry& operator=(Entry const&) = delete;
      /// Where it stands; never if nowhere.
      Tick tick() const { return tick_; }

    private:
      friend class TickWheel;
      Tick tick_ = never;
      Entry* previous_ = nullptr;
      Entry* next_ = nullptr;
   };

   /// How many entries stand here.
   std::size_t size() const { return size_; }
   bool empty() const { return size_ == 0; }

   /// Puts the entry to the tick, after those that stand there, wherever it stood before.
   void set(Entry& entry, Tick tick) {
      del(entry);
      auto& at = ticks_[tick];
      entry.tick_ = tick;
      entry.previous_ = at.last;
      entry.next_ = nullptr;
      (at.last == nullptr ? at.first : at.last->next_) = &entry;
      at.last = &entry;
      ++at.count;
      ++size_;
   }
   /// Takes the entry out; one that stands nowhere is no error.
   void del(Entry& entry) {
      if (entry.tick_ == never) return;
      auto const it = ticks_.find(entry.tick_);
      auto& at = it->second;
      (entry.previous_ == nullptr ? at.first : entry.previous_->next_) = entry.next_;
      (entry.next_ == nullptr ? at.last : entry.next_->previous_) = entry.previous_;
      if (--at.count == 0) ticks_.erase(it);
      entry.tick_ = never;
      --size_;
   }

   /// The first entry; the wheel must not be empty.
   Entry& front() { return *ticks_.begin()->second.first; }
   /// How many entries stand at that tick or before it.
   std::size_t countUntil(Tick tick) const {
      std::size_t count = 0;
      for (auto it = ticks_.begin(); it != ticks_.end() && it->first <= tick; ++it) count += it->second.count;
      return count;
   }
   /// The first tick after that one at which an entry stands; never if there is none.
   Tick firstAfter(Tick tick) const {
      auto const it = ticks_.upper_bound(tick);
      return it == ticks_.end() ? never : it->first;
   }

 private:
   struct Chain {
      Entry* first = nullptr;
      Entry* last = nullptr;
      std::size_t count = 0;
   };

   absl::btree_map<Tick, Chain> ticks_;  // none of them empty
   std::size_t size_ = 0;
};

}  // namespace velm::embedded
