#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "platform/switch/Event.h"

namespace velm::embedded {

/// The main loop's events: those that are ready, in order, and those that are due later, which ripen whenever somebody
/// looks. Not thread-safe.
class EventQueue {
 public:
   using Clock = std::chrono::steady_clock;
   /// The time of an event that is due later, and its number among those of one time.
   using Place = std::pair<Clock::time_point, std::uint64_t>;

   /// Adds an event that is ready at once, after those whose time has come.
   void add(Event event) {
      ripen();
      ready_.push_back(std::move(event));
   }
   /// Adds an event that becomes ready at its time, after what is ready by then. Among events of one time the first
   /// added comes first.
   Place addLater(Clock::time_point due, Event event) {
      Place const place(due, ++added_);
      later_.emplace(place, std::move(event));
      return place;
   }
   /// Takes an event back; nothing happens if it was ready already.
   void delLater(Place const& place) { later_.erase(place); }
   std::size_t later() const { return later_.size(); }

   bool ready() {
      ripen();
      return !ready_.empty();
   }
   /// The time of the next event that is not ready.
   std::optional<Clock::time_point> nextDue() const {
      return later_.empty() ? std::nullopt : std::optional(later_.begin()->first.first);
   }

   /// Swaps all that is ready for the given vector, which must be empty and lends its storage.
   void take(std::vector<Event>& events) {
      ripen();
      ready_.swap(events);
   }

 private:
   void ripen() {
      if (later_.empty()) return;
      for (auto const now = Clock::now(); !later_.empty() && later_.begin()->first.first <= now;) {
         ready_.push_back(std::move(later_.extract(later_.begin()).mapped()));
      }
   }

   std::vector<Event> ready_;
   std::map<Place, Event> later_;
   std::uint64_t added_ = 0;
};

}  // namespace velm::embedded
