#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace VelmSdkRpc::chaos {

/// How much of everything, by the environment of the process:
///
///   CHAOS_ROUNDS     10 by default; from 100 on it is the long form
///   CHAOS_SEED       random by default; repeats what clients do, but not the moments at which they are hit
///   CHAOS_AGENT      another agent's program
///   CHAOS_PATIENCE   how many times longer, and more memory, an agent may need that is not built for speed
struct Scale {
   unsigned rounds;
   std::uint32_t seed;
   std::string agent;
   unsigned patience;

   static Scale const& get();
   /// So many in ten rounds of the short form, so many in a hundred of the long one.
   unsigned many(unsigned inShort, unsigned inLong) const;
   std::chrono::milliseconds seconds(unsigned count) const { return std::chrono::seconds(count * patience); }
};

}  // namespace VelmSdkRpc::chaos
