#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace VelmSdkRpc::trials {

/// Things seen that must not be. Thread-safe.
class Findings {
 public:
   /// An empty text is no finding. Of many only the first are kept.
   void add(std::string text) {
      if (text.empty()) return;
      std::lock_guard const lock(mutex_);
      ++count_;
      if (texts_.size() < 20) texts_.push_back(std::move(text));
   }
   std::size_t count() const {
      std::lock_guard const lock(mutex_);
      return count_;
   }
   std::vector<std::string> texts() const {
      std::lock_guard const lock(mutex_);
      return texts_;
   }

 private:
   mutable std::mutex mutex_;
   std::size_t count_ = 0;           // guarded by mutex_
   std::vector<std::string> texts_;  // guarded by mutex_
};

}  // namespace VelmSdkRpc::trials
