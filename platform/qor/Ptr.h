#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

namespace Qor {

/// An owning pointer to a PtrInterface, which carries the count. Null unless given an object. The pointer itself is as
/// thread-safe as a plain one.
template <class T>
class Ptr {
 public:
   constexpr Ptr() = default;
   constexpr Ptr(std::nullptr_t) {}                 // NOLINT(google-explicit-constructor)
   Ptr(T* object) : object_(object) { acquire(); }  // NOLINT(google-explicit-constructor)
   Ptr(Ptr const& other) : Ptr(other.object_) {}
   Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
   template <class U>
   requires std::convertible_to<U*, T*> Ptr(Ptr<U> const& other)
      : Ptr(other.get()) {}  // NOLINT(google-explicit-constructor)
   ~Ptr() {
      if (object_ != nullptr) object_->deleteRef();
   }

   Ptr& operator=(Ptr other) noexcept {
      std::swap(object_, other.object_);
      return *this;
   }

   T* get() const { return object_; }
   T* operator->() const { return object_; }
   T& operator*() const { return *object_; }
   explicit operator bool() const { return object_ != nullptr; }

   friend bool operator==(Ptr const& a, Ptr const& b) { return a.object_ == b.object_; }
   friend bool operator==(Ptr const& a, std::nullptr_t) { return a.object_ == nullptr; }

 private:
   void acquire() {
      if (object_ != nullptr) object_->newRef();
   }

   T* object_ = nullptr;
};

}  // namespace Qor
