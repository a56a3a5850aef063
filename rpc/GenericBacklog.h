#pragma once

#include <absl/hash/hash.h>

#include <cstdint>
#include <unordered_map>
#include <utility>

#include "rpc/BacklogImplBase.h"

namespace VelmSdkRpc {

// How a burst drains. All of it happens on the main loop, under the SDK lock:
//
//   SDK callback     put(key, event): the entry of the key is made or replaced, and the task asked for
//   main loop        ... whatever else is due; a request may have the SDK lock between two runs ...
//   task             run: publish one entry, and as many more as the quantum has time for;
//                    erase what was published; ask for another run if anything is left
//
// The first entry is published before the time is looked at, so every run gets on. What comes between two runs replaces
// an entry that waits or adds one; nothing comes during a run, for callbacks and tasks take turns.

/// The newest event of each key that is not published yet. A burst costs one entry a key, whatever it brings, and is
/// published a quantum at a time by `Impl`, a functor called as impl(key, response), which must not throw or put.
/// Events of a key coalesce whatever their kind; the order of keys is not promised. Main loop only, so that nothing is
/// locked.
template <class Key, class Response, class Impl>
class GenericBacklog : public BacklogImplBase {
 public:
   /// `name` is the task's. The scheduler must be the main loop's.
   GenericBacklog(Qor::String name, Qor::Ptr<Loom::TaskScheduler> const& scheduler, Impl impl)
      : BacklogImplBase(std::move(name), scheduler), impl_(std::move(impl)) {}

   /// Replaces what is pending for the key.
   void put(Key const& key, Response response) {
      backlog_.insert_or_assign(key, std::move(response));
      task().scheduleTask();
   }

   /// How many keys wait.
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
