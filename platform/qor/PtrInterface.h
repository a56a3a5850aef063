#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <typeinfo>
#include <vector>

#include "platform/qor/Ptr.h"
#include "platform/qor/Runtime.h"

namespace Qor {

/// Numbers an attribute that notifiees are told of.
using AttributeId = std::uint32_t;

/// Base of the runtime's counted objects. They live on the heap; when the last Ptr to one goes, it is deleted.
///
/// An object may notify reactors of its attributes. Everything that has to do with notification belongs to one thread
/// at a time (in the agent, to the holder of the SDK lock); only counting may happen on several at once, if
/// VFPtrInterface::threadSafePointers().
class PtrInterface : public VFPtrInterface {
 public:
   class NotifieeConst;

   PtrInterface() = default;
   PtrInterface(PtrInterface const&) = delete;
   PtrInterface& operator=(PtrInterface const&) = delete;

   /// For Ptr: count a reference, and take one off; the last one deletes the object, on whichever thread that is.
   void newRef() const;
   void deleteRef() const;
   /// How many there are, which is a figure of the past where several threads hold some.
   std::uint32_t references() const { return header_.load(std::memory_order_relaxed) / oneReference; }

   /// A zombie: still referred to, but replaced or about to go. Only says so; who cares asks.
   bool qorMarkedForDeletion() const { return flag(markedForDeletion); }
   void qorMarkedForDeletionIs(bool marked) { flagIs(markedForDeletion, marked); }

   /// Whether the object sends (or, for a reactor, receives) notifications; off at first.
   bool hasNotificationActive() const { return flag(notificationActive); }
   virtual void hasNotificationActiveIs(bool active) { flagIs(notificationActive, active); }

   /// Set while the object goes: pointers to it that come and go during its destruction do not delete it again.
   void zeroReferencesIs(bool zero) { flagIs(noReferences, zero); }

   /// The registered reactors, in the order of their registration.
   std::vector<NotifieeConst*> notifieeList() const;

   /// The type record of the object's own class.
   std::type_info const& fwkType() const { return typeid(*this); }

   /// Storage for a counted object, which AllocTrackTypeInfo::of<PtrInterface>() counts while it is in use. What `new`
   /// takes, too.
   static void* qorMemAlloc(std::size_t size);
   static void* operator new(std::size_t size) { return qorMemAlloc(size); }
   static void* operator new(std::size_t, void* storage) { return storage; }
   static void operator delete(void* object, std::size_t size);
   static void operator delete(void*, void*) {}

 protected:
   virtual ~PtrInterface();

   /// Runs once, when the count of references comes to zero.
   void handleZeroRef();
   /// Called last by handleZeroRef(); deletes the object unless a class knows better.
   virtual void onZeroReferences() { delete this; }

   /// Tells every registered and active reactor of the attribute's new value, unless notification is off. Reactors may
   /// come and go meanwhile, this object among what goes: one that went is not told any more, one that came is told
   /// the next time.
   void notify(AttributeId attributeId, void const* value = nullptr);

 private:
   class NotifieeList;

   // The header: flags below, the count above them.
   enum Flag : std::uint32_t { markedForDeletion = 1, notificationActive = 2, noReferences = 4 };
   static constexpr std::uint32_t oneReference = 8;

   bool flag(Flag which) const { return (header_.load(std::memory_order_relaxed) & which) != 0; }
   void flagIs(Flag which, bool on) { on ? header_.fetch_or(which) : header_.fetch_and(~std::uint32_t{which}); }

   mutable std::atomic<std::uint32_t> header_{0};
   std::shared_ptr<NotifieeList> notifiees_;  // none until the first reactor comes
};

/// Base of a reactor: watches the attributes of a counted object, its notifier, which it keeps alive.
class PtrInterface::NotifieeConst : public PtrInterface {
 public:
   Ptr<PtrInterface> const& notifier() const { return notifier_; }
   void notifierIs(Ptr<PtrInterface> const& notifier);

   /// Whether the notifier, the present one or one to come, knows of this reactor; off at first.
   void isRegisteredNotifieeIs(bool registered);

   /// The notifier's attribute changed. The meaning of the value is the attribute's affair; null for none.
   virtual void onAttribute(AttributeId attributeId, void const* value) = 0;

 protected:
   ~NotifieeConst() override;

 private:
   Ptr<PtrInterface> notifier_;
   bool registered_ = false;
};

}  // namespace Qor
