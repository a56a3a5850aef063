#include "platform/pesko/MemTrack.h"

#include <new>

namespace Pesko {

MemTrack& MemTrack::root() {
   static auto* const tracker = new MemTrack;  // never deleted: static objects give back storage at the process's end
   return *tracker;
}

void* MemTrack::alloc(MemTrack& tracker, std::type_info const& type, std::size_t size, std::size_t count) {
   std::lock_guard const lock(tracker.mutex_);
   auto& inUse = tracker.counts_[type];  // first, since it can throw: storage that is there would be lost
   auto* const storage = ::operator new(size* count, std::nothrow);
   if (storage == nullptr) Qor::allocTrackAllocatorBadAlloc();
   inUse.objects += count;
   inUse.bytes += size * count;
   return storage;
}

void MemTrack::dealloc(MemTrack& tracker, std::type_info const& type, void* storage, std::size_t size,
                       std::size_t count) noexcept {
   {
      std::lock_guard const lock(tracker.mutex_);
      auto& inUse = tracker.counts_.at(type);
      inUse.objects -= count;
      inUse.bytes -= size * count;
   }
   ::operator delete(storage);
}

MemTrack::Count MemTrack::inUse(std::type_info const& type) const {
   std::lock_guard const lock(mutex_);
   auto const it = counts_.find(type);
   return it != counts_.end() ? it->second : Count{};
}

}  // namespace Pesko
