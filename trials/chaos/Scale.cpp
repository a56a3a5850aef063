#include "trials/chaos/Scale.h"

#include <algorithm>
#include <cstdlib>
#include <random>

namespace VelmSdkRpc::chaos {
namespace {

std::string wordOf(char const* variable, std::string const& otherwise) {
   auto const* const value = std::getenv(variable);
   return value == nullptr || *value == '\0' ? otherwise : value;
}

unsigned numberOf(char const* variable, unsigned otherwise) {
   return static_cast<unsigned>(std::stoul(wordOf(variable, std::to_string(otherwise))));
}

}  // namespace

Scale const& Scale::get() {
   static Scale const scale{std::max(1U, numberOf("CHAOS_ROUNDS", 10)),
                            numberOf("CHAOS_SEED", std::random_device()() % 1000000),
                            wordOf("CHAOS_AGENT", AGENT_PROGRAM), std::max(1U, numberOf("CHAOS_PATIENCE", 1))};
   return scale;
}

unsigned Scale::many(unsigned inShort, unsigned inLong) const {
   auto const count = rounds < 100 ? std::uint64_t{inShort} * rounds / 10 : std::uint64_t{inLong} * rounds / 100;
   return std::max(1U, static_cast<unsigned>(count));
}

}  // namespace VelmSdkRpc::chaos
