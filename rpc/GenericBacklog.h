#pragma once

#include <absl/hash/hash.h>

#include <cstdint>
#include <unordered_map>
#include <utility>

#include "rpc/BacklogImplBase.h"

namespace VelmSdkRpc {

/// The newest event of each key that is not published yet. A burst costs one entry a key, whatever it brings, and is
/// published a quantum at a time by `Impl`, a functor called as impl(key, response). Events of a key coalesce whatever
/// their kind; the order of keys is not promised. Main loop only.
template <class Key, class Response, class Impl>
class GenericBacklog : public BacklogImplBase {
 public:
   GenericBacklog(Qor::String name, Qor::Ptr<Loom::TaskScheduler> const& scheduler, Impl impl)
      : BacklogImplBase(std::move(name), scheduler), impl_(std::move(impl)) {}

   /// Replaces what is pending for the key.
   void put(Key const& key, Response response) {
      backlog_.insert_or_assign(key, std::move(response));
      task().scheduleTask();
   }

   std::size_t size() const { return backlog_.size(); }

   void handleBacklogTask() override {
      auto const first = backlog_.begin();
      auto it = first;
      std::uint64_t published = 0;
      while (it != backlog_.end()) {
         impl_(it->first, it->second);
         ++published;
         if (++it == backlog_.end() || task().taskShouldYield()) break;
      }
      backlog_.erase(first, it);
      task().taskWorkCountInc(published);
      task().taskWorkPendingIs(static_cast<std::uint32_t>(backlog_.size()));
      if (!backlog_.empty()) task().scheduleTask();
   }

 private:
   std::unordered_map<Key, Response, absl::Hash<Key>> backlog_;
   Impl impl_;
};

}  // namespace VelmSdkRpc
