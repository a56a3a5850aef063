#pragma once

#include <cstdint>
#include <string_view>

namespace Qor {

/// Mixes values into a 32-bit hash: the order and the borders of what is mixed in count. Stable within a process for
/// one seed.
class Hash {
 public:
   explicit Hash(std::uint32_t seed) : state_(seed) {}

   /// A text, with its length, so that two texts in a row are not taken for two others.
   void hashMix(std::string_view text);
   void hashMix(std::uint64_t value);

   std::uint32_t result() const { return static_cast<std::uint32_t>(state_ >> 32); }

 private:
   std::uint64_t state_;
};

class HashHelper {
 public:
   /// The process's seed, drawn at random when it is first asked for.
   static std::uint32_t hashSeed32();
};

}  // namespace Qor
