#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

namespace VelmSdkRpc::chaos {

/// How much of everything, by the environment of the process:
///
///   CHAOS_ROUNDS     10 by default; from 100 on it is the long form
///   CHAOS_SEED       random by default; repeats what clients do, but not the moments at which they are hit
///   CHAOS_AGENT      another agent's program
///   CHAOS_PATIENCE   how many times longer, and more memory, an agent may need that is not built for speed
struct Scale {
   unsigned rounds = std::max(1U, number("CHAOS_ROUNDS", 10));
   std::uint32_t seed = number("CHAOS_SEED", std::random_device()() % 1000000);
   std::string agent = text("CHAOS_AGENT", AGENT_PROGRAM);
   unsigned patience = std::max(1U, number("CHAOS_PATIENCE", 1));

   static Scale const& get() {
      static Scale const scale;
      return scale;
   }
   /// So many in ten rounds of the short form, so many in a hundred of the long one.
   unsigned many(unsigned inShort, unsigned inLong) const {
      auto const count = rounds < 100 ? std::uint64_t{inShort} * rounds / 10 : std::uint64_t{inLong} * rounds / 100;
      return std::max(1U, static_cast<unsigned>(count));
   }
   std::chrono::milliseconds seconds(unsigned count) const { return std::chrono::seconds(count * patience); }

 private:
   static std::string text(char const* variable, std::string const& otherwise) {
      auto const* const value = std::getenv(variable);
      return value == nullptr || *value == '\0' ? otherwise : value;
   }
   static unsigned number(char const* variable, unsigned otherwise) {
      return static_cast<unsigned>(std::stoul(text(variable, std::to_string(otherwise))));
   }
};

}  // namespace VelmSdkRpc::chaos
