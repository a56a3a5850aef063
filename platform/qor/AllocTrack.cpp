#include "platform/qor/AllocTrack.h"

#include <new>

namespace Qor {

void allocTrackAllocatorBadAlloc() { throw std::bad_alloc(); }

void* AllocTrackTypeInfo::alloc(std::size_t bytes) {
   auto* const storage = ::operator new(bytes, std::nothrow);
   if (storage == nullptr) allocTrackAllocatorBadAlloc();
   allocations_.fetch_add(1, std::memory_order_relaxed);
   bytes_.fetch_add(bytes, std::memory_order_relaxed);
   return storage;
}

void AllocTrackTypeInfo::dealloc(void* storage, std::size_t bytes) noexcept {
   if (storage == nullptr) return;
   allocations_.fetch_sub(1, std::memory_order_relaxed);
   bytes_.fetch_sub(bytes, std::memory_order_relaxed);
   ::operator delete(storage);
}

}  // namespace Qor
