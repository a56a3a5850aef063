#pragma once

#include <google/protobuf/descriptor.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/AnyMessage.h"

namespace VelmSdkRpc::trials {

/// Wild: anything may be called. Calm: only what leaves alone a client that goes its own way in keys of its own.
enum class Weather { wild, calm };

/// How a call ended: well, refused by the agent, or cancelled by its client.
enum class End { ok, refused, cancelled };

/// All methods, and how often each was called. Thread-safe.
class Tally {
 public:
   Tally();

   std::size_t size() const { return methods_.size(); }
   google::protobuf::MethodDescriptor const& method(std::size_t index) const { return *methods_[index]; }

   /// The next method to call: mostly any, often one with few calls.
   std::size_t choose(AnyMessage& any, Weather weather) const;

   void add(std::size_t index, End end);
   std::uint64_t calls(std::size_t index) const;
   std::uint64_t total() const;

   /// A line for each service, with its methods' calls and the one that was called least.
   std::string table() const;
   /// The methods below the number, with their calls; empty if there is none.
   std::string below(std::uint64_t atLeast) const;

 private:
   struct Count {
      std::atomic<std::uint64_t> ok = 0;
      std::atomic<std::uint64_t> refused = 0;
      std::atomic<std::uint64_t> cancelled = 0;
   };

   std::vector<google::protobuf::MethodDescriptor const*> const methods_;
   std::vector<Count> counts_;
   std::vector<std::size_t> calm_;  // those that may be called in calm weather
};

}  // namespace VelmSdkRpc::trials
