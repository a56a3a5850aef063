#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Qor {

/// Where an allocation that cannot be had ends: throws std::bad_alloc.
[[noreturn]] void allocTrackAllocatorBadAlloc();

/// Counts the storage that is in use for one type, and gets it from the heap. Thread-safe.
class AllocTrackTypeInfo {
 public:
   /// The process's count for T.
   template <class T>
   static AllocTrackTypeInfo& of() {
      static AllocTrackTypeInfo info;
      return info;
   }

   AllocTrackTypeInfo() = default;
   AllocTrackTypeInfo(AllocTrackTypeInfo const&) = delete;
   AllocTrackTypeInfo& operator=(AllocTrackTypeInfo const&) = delete;

   /// Storage of that many bytes; allocTrackAllocatorBadAlloc() if there is none.
   void* alloc(std::size_t bytes);
   /// Gives back what alloc() gave for that many bytes; null does nothing.
   void dealloc(void* storage, std::size_t bytes) noexcept;

   /// Allocations and bytes in use.
   std::uint64_t allocations() const { return allocations_.load(std::memory_order_relaxed); }
   std::uint64_t bytes() const { return bytes_.load(std::memory_order_relaxed); }

 private:
   // Relaxed: figures alone, which order nothing.
   std::atomic<std::uint64_t> allocations_{0};
   std::atomic<std::uint64_t> bytes_{0};
};

/// A standard allocator whose allocations Tracking counts; rebound for a container's nodes, it counts for the same.
template <class T, class Tracking>
class TrackedAllocator {
 public:
   using value_type = T;
   template <class U>
   struct rebind {
      using other = TrackedAllocator<U, Tracking>;
   };

   TrackedAllocator() = default;
   template <class U>
   TrackedAllocator(TrackedAllocator<U, Tracking> const&) noexcept {}  // NOLINT(google-explicit-constructor)

   T* allocate(std::size_t count) {
      static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
      if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) allocTrackAllocatorBadAlloc();
      return static_cast<T*>(Tracking::alloc(sizeof(T), count));
   }
   void deallocate(T* storage, std::size_t count) noexcept { Tracking::dealloc(storage, sizeof(T), count); }

   template <class U>
   friend bool operator==(TrackedAllocator const&, TrackedAllocator<U, Tracking> const&) {
      return true;
   }
};

/// Counts under AllocTrackTypeInfo::of<Owner>().
template <class Owner>
struct AllocTracking {
   static void* alloc(std::size_t size, std::size_t count) {
      return AllocTrackTypeInfo::of<Owner>().alloc(size * count);
   }
   static void dealloc(void* storage, std::size_t size, std::size_t count) noexcept {
      AllocTrackTypeInfo::of<Owner>().dealloc(storage, size * count);
   }
};

/// The allocator of the containers and shared objects that keep T.
template <class T>
using AllocTrackAllocator = TrackedAllocator<T, AllocTracking<T>>;

}  // namespace Qor
