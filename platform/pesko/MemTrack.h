#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <typeindex>

#include "platform/qor/AllocTrack.h"

namespace Pesko {

/// Storage by type, with a count of what is in use. Thread-safe.
class MemTrack {
 public:
   struct Count {
      std::uint64_t objects = 0;
      std::uint64_t bytes = 0;
   };

   /// The process's tracker.
   static MemTrack& root();

   /// Storage for `count` objects of `size` bytes each, counted for the type; Qor::allocTrackAllocatorBadAlloc() if
   /// there is none.
   static void* alloc(MemTrack& tracker, std::type_info const& type, std::size_t size, std::size_t count);
   /// Gives back what alloc gave, with the same type, size and count.
   static void dealloc(MemTrack& tracker, std::type_info const& type, void* storage, std::size_t size,
                       std::size_t count) noexcept;

   Count inUse(std::type_info const& type) const;

 private:
   mutable std::mutex mutex_;
   std::map<std::type_index, Count> counts_;  // guarded by mutex_
};

/// Counts for Owner in the process's tracker.
template <class Owner>
struct MemTracking {
   static void* alloc(std::size_t size, std::size_t count) {
      return MemTrack::alloc(MemTrack::root(), typeid(Owner), size, count);
   }
   static void dealloc(void* storage, std::size_t size, std::size_t count) noexcept {
      MemTrack::dealloc(MemTrack::root(), typeid(Owner), storage, size, count);
   }
};

/// The allocator of shared objects: `std::allocate_shared<T>(Pesko::Allocator<T>(), ...)`.
template <class T>
using Allocator = Qor::TrackedAllocator<T, MemTracking<T>>;

}  // namespace Pesko
