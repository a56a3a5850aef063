#include "platform/qor/Hash.h"

#include <cstring>
#include <random>

namespace Qor {

// The finaliser of a well-known 64-bit hash: each bit of the input reaches every bit of the output.
void Hash::hashMix(std::uint64_t value) {
   auto mixed = state_ ^ (value + 0x9E3779B97F4A7C15);
   mixed = (mixed ^ mixed >> 33) * 0xFF51AFD7ED558CCD;
   mixed = (mixed ^ mixed >> 33) * 0xC4CEB9FE1A85EC53;
   state_ = mixed ^ mixed >> 33;
}

void Hash::hashMix(std::string_view text) {
   hashMix(static_cast<std::uint64_t>(text.size()));  // so that "ab", "c" is not "a", "bc"
   while (!text.empty()) {
      std::uint64_t word = 0;
      auto const size = text.size() < sizeof word ? text.size() : sizeof word;
      std::memcpy(&word, text.data(), size);
      hashMix(word);
      text.remove_prefix(size);
   }
}

std::uint32_t HashHelper::hashSeed32() {
   static auto const seed = static_cast<std::uint32_t>(std::random_device()());
   return seed;
}

}  // namespace Qor
