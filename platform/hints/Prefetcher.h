#pragma once

#include <span>

/// Interfaces that a platform's managers may offer beside the operations of their SDK, to make calls cheaper. Another
/// switch's managers need not: ask each by dynamic_cast, and do without where there is none.
namespace Hints {

/// A manager that can be told which rows the next calls will be about, so that they need not wait for memory one by
/// one. `Where` names the table where the key alone does not.
template <class Key, class... Where>
class Prefetcher {
 public:
   virtual ~Prefetcher() = default;
   /// Changes nothing, is counted nowhere and cannot fail. Thread-safe.
   virtual void prefetch(std::span<Key const> keys, Where const&... where) const = 0;
};

}  // namespace Hints
