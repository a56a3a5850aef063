#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "platform/switch/Event.h"

namespace velm::embedded {

/// The main loop's events: those that are ready, in order, and those that are due later. Not thread-safe.
class EventQueue {
 public:
   using Clock = std::chrono::steady_clock;

   void add(Event event) {
      ripen();
      ready_.push_back(std::move(event));
   }
   /// One that becomes ready at its time, behind what is ready by then. Of one time, the first added comes first.
   void addLater(Clock::time_point due, Event event) { later_.emplace(due, std::move(event)); }

   bool ready() {
      ripen();
      return !ready_.empty();
   }
   /// The time of the next event that is not ready.
   std::optional<Clock::time_point> nextDue() const {
      return later_.empty() ? std::nullopt : std::optional(later_.begin()->first);
   }

   /// Swaps all that is ready for the given vector, which must be empty and lends its storage.
   void take(std::vector<Event>& events) {
      ripen();
      ready_.swap(events);
   }

 private:
   void ripen() {
      if (later_.empty()) return;
      for (auto const now = Clock::now(); !later_.empty() && later_.begin()->first <= now;) {
         ready_.push_back(std::move(later_.extract(later_.begin()).mapped()));
      }
   }

   std::vector<Event> ready_;
   std::multimap<Clock::time_point, Event> later_;
};

}  // namespace velm::embedded
