#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace velm::embedded {

/// A piece of work for the main loop: any callable without arguments, kept in place, so that posting one costs no
/// allocation unless its captures are unusually large. Move-only; empty once moved from.
///
/// std::function would want captures that can be copied, and has room for two pointers alone, while most events carry a
/// key and a value.
class Event {
 public:
   Event() = default;

   template <class Work>
   requires(!std::is_same_v<Work, Event> && std::is_invocable_v<Work&>)
      Event(Work work) {  // NOLINT(google-explicit-constructor): a lambda is an event
      if constexpr (fits<Work>) {
         ::new (static_cast<void*>(room_)) Work(std::move(work));
         operations_ = &operationsOf<Work>;
      } else {
         *this = Event([kept = std::make_unique<Work>(std::move(work))] { (*kept)(); });
      }
   }

   Event(Event&& other) noexcept { take(other); }
   Event& operator=(Event&& other) noexcept {
      if (this != &other) {
         reset();
         take(other);
      }
      return *this;
   }
   ~Event() { reset(); }

   /// Does the work; the event must not be empty.
   void operator()() { operations_->call(room_); }

 private:
   /// The steps that only the type of the work in the room knows how to do.
   struct Operations {
      void (*call)(void*);
      void (*relocate)(void* from, void* to) noexcept;
      void (*destroy)(void*) noexcept;
   };

   static constexpr std::size_t roomSize = 80;
   template <class Work>
   static constexpr bool fits =
      sizeof(Work) <= roomSize &&
      alignof(Work) <= alignof(std::max_align_t) && std::is_nothrow_move_constructible_v<Work>;

   template <class Work>
   static constexpr Operations operationsOf{
      [](void* work) { (*static_cast<Work*>(work))(); },
      [](void* from, void* to) noexcept {
         ::new (to) Work(std::move(*static_cast<Work*>(from)));
         static_cast<Work*>(from)->~Work();
      },
      [](void* work) noexcept { static_cast<Work*>(work)->~Work(); },
   };

   void take(Event& other) {
      if (other.operations_ != nullptr) other.operations_->relocate(other.room_, room_);
      operations_ = std::exchange(other.operations_, nullptr);
   }
   void reset() {
      if (operations_ != nullptr) std::exchange(operations_, nullptr)->destroy(room_);
   }

   alignas(std::max_align_t) std::byte room_[roomSize];
   Operations const* operations_ = nullptr;
};

}  // namespace velm::embedded
