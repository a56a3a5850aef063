#include "platform/qor/PtrInterface.h"

#include <algorithm>

#include "platform/qor/AllocTrack.h"

namespace Qor {

// A reactor that leaves during a walk leaves a hole, which the last walk to end fills; one that comes lies beyond the
// walk's end. The walk itself holds the list, since the notifier may go under it.
class PtrInterface::NotifieeList {
 public:
   void add(NotifieeConst* notifiee) { notifiees_.push_back(notifiee); }

   void remove(NotifieeConst* notifiee) {
      std::replace(notifiees_.begin(), notifiees_.end(), notifiee, static_cast<NotifieeConst*>(nullptr));
      if (walks_ == 0) fillHoles();
   }

   void notify(AttributeId attributeId, void const* value) {
      Walk const walk(*this);
      for (std::size_t i = 0, end = notifiees_.size(); i < end; ++i) {
         auto* const notifiee = notifiees_[i];
         if (notifiee != nullptr && notifiee->hasNotificationActive()) notifiee->onAttribute(attributeId, value);
      }
   }

   std::vector<NotifieeConst*> present() const {
      auto result = notifiees_;
      std::erase(result, nullptr);
      return result;
   }

 private:
   struct Walk {
      explicit Walk(NotifieeList& list) : list(list) { ++list.walks_; }
      ~Walk() {
         if (--list.walks_ == 0) list.fillHoles();
      }
      NotifieeList& list;
   };

   void fillHoles() { std::erase(notifiees_, nullptr); }

   std::vector<NotifieeConst*> notifiees_;
   int walks_ = 0;  // a notification may cause another
};

PtrInterface::~PtrInterface() = default;

// Relaxed: whoever makes another reference has one already, so that the object cannot go meanwhile.
void PtrInterface::newRef() const {
   if (threadSafePointers()) {
      header_.fetch_add(oneReference, std::memory_order_relaxed);
   } else {
      header_.store(header_.load(std::memory_order_relaxed) + oneReference, std::memory_order_relaxed);
   }
}

// The count shares one word with the flags, so that one atomic step tells that the count came to zero. The flag for "no
// references" stays set from then on: a pointer that comes and goes while the object is being destroyed brings the
// count to zero once more, and must not delete again.
//
// Release, so that all that a holder did with the object comes before its deletion; acquire for the one that deletes.
void PtrInterface::deleteRef() const {
   std::uint32_t left = 0;
   if (threadSafePointers()) {
      left = header_.fetch_sub(oneReference, std::memory_order_acq_rel) - oneReference;
   } else {
      left = header_.load(std::memory_order_relaxed) - oneReference;
      header_.store(left, std::memory_order_relaxed);
   }
   if (left < oneReference && (left & noReferences) == 0) const_cast<PtrInterface*>(this)->handleZeroRef();
}

void PtrInterface::handleZeroRef() {
   zeroReferencesIs(true);
   onZeroReferences();
}

std::vector<PtrInterface::NotifieeConst*> PtrInterface::notifieeList() const {
   return notifiees_ ? notifiees_->present() : std::vector<NotifieeConst*>();
}

void PtrInterface::notify(AttributeId attributeId, void const* value) {
   if (!hasNotificationActive()) return;
   if (auto const notifiees = notifiees_) notifiees->notify(attributeId, value);
}

void* PtrInterface::qorMemAlloc(std::size_t size) { return AllocTrackTypeInfo::of<PtrInterface>().alloc(size); }

void PtrInterface::operator delete(void* object, std::size_t size) {
   AllocTrackTypeInfo::of<PtrInterface>().dealloc(object, size);
}

void PtrInterface::NotifieeConst::notifierIs(Ptr<PtrInterface> const& notifier) {
   auto const registered = registered_;
   isRegisteredNotifieeIs(false);
   notifier_ = notifier;
   isRegisteredNotifieeIs(registered);
}

void PtrInterface::NotifieeConst::isRegisteredNotifieeIs(bool registered) {
   if (registered == registered_) return;
   registered_ = registered;
   if (!notifier_) return;
   auto& list = notifier_->notifiees_;
   if (!list) list = std::make_shared<NotifieeList>();
   registered ? list->add(this) : list->remove(this);
}

PtrInterface::NotifieeConst::~NotifieeConst() { isRegisteredNotifieeIs(false); }

}  // namespace Qor
