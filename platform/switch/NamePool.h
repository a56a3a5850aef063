#pragma once

#include <absl/container/node_hash_map.h>

#include <cstddef>
#include <string>
#include <utility>

namespace velm::embedded {

/// Keeps each name once, however many rows bear it, for as long as one does. Must outlive its references; the SDK lock
/// guards it. A route's group is then 8 bytes in its row and not a text of its own, a million times.
class NamePool {
   struct Uses {
      NamePool* pool;
      std::size_t count = 0;
   };
   using Node = std::pair<std::string const, Uses>;

 public:
   NamePool() = default;
   NamePool(NamePool const&) = delete;
   NamePool& operator=(NamePool const&) = delete;

   /// One row's claim on a name, or on none: the size of a pointer.
   class Ref {
    public:
      Ref() = default;
      Ref(Ref const& other) : node_(other.node_) { claim(); }
      Ref(Ref&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
      Ref& operator=(Ref other) noexcept {
         std::swap(node_, other.node_);
         return *this;
      }
      ~Ref() {
         if (node_ != nullptr && --node_->second.count == 0) node_->second.pool->drop(node_);
      }

      explicit operator bool() const { return node_ != nullptr; }
      std::string const& operator*() const { return node_->first; }

    private:
      friend class NamePool;
      explicit Ref(Node* node) : node_(node) { claim(); }
      void claim() {
         if (node_ != nullptr) ++node_->second.count;
      }

      Node* node_ = nullptr;
   };

   /// A claim on the name, which comes into the pool with its first claim and leaves it with the last.
   Ref get(std::string const& name) {
      // Routes come in runs that leave through one group.
      if (last_ == nullptr || last_->first != name) last_ = &*names_.try_emplace(name, Uses{this}).first;
      return Ref(last_);
   }
   std::size_t size() const { return names_.size(); }

 private:
   void drop(Node* node) {
      if (last_ == node) last_ = nullptr;
      names_.erase(names_.find(node->first));
   }

   absl::node_hash_map<std::string, Uses> names_;
   Node* last_ = nullptr;  // the name asked for last
};

}  // namespace velm::embedded
