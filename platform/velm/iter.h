#pragma once

#include <memory>
#include <utility>

namespace velm {

/// The inside of an iterator of the SDK; a manager supplies it. Not thread-safe: advance under the SDK lock.
template <class T>
class iter_impl {
 public:
   virtual ~iter_impl() = default;
   /// An iterator of its own at the same place.
   virtual std::unique_ptr<iter_impl> clone() const = 0;
   /// The element under the iterator, the iterator's own copy; null at the end.
   virtual T const* current() const = 0;
   /// Steps on to the next element that is there by now; at the end nothing happens.
   virtual void advance() = 0;
};

/// The SDK's forward iterator, in the order of the keys unless its manager says otherwise. It holds a copy of its
/// element and finds its place again by key, so it survives every change of the table between two steps: no element
/// that stood throughout is skipped or given twice. Advance it under sdk_scoped_lock; reading the element needs no
/// lock. The manager must outlive it.
template <class T, class Impl = iter_impl<T>>
class iter_base {
 public:
   explicit iter_base(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
   iter_base(iter_base const& other) : impl_(other.impl_->clone()) {}
   iter_base(iter_base&&) noexcept = default;
   iter_base& operator=(iter_base const& other) {
      impl_ = other.impl_->clone();
      return *this;
   }
   iter_base& operator=(iter_base&&) noexcept = default;
   ~iter_base() = default;

   /// Whether the iterator stands on an element.
   explicit operator bool() const { return impl_->current() != nullptr; }
   T const& operator*() const { return *impl_->current(); }
   T const* operator->() const { return impl_->current(); }
   iter_base& operator++() {
      impl_->advance();
      return *this;
   }

 private:
   std::unique_ptr<Impl> impl_;
};

}  // namespace velm
