#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "trials/support/Tally.h"

namespace VelmSdkRpc::storm {

using trials::Tally;

struct Options {
   std::string agent;
   std::uint64_t calls = 0;  // one of the two is not 0
   double seconds = 0;
   std::size_t connections = 8;
   std::uint32_t seed = 1;
   std::optional<std::uint64_t> atLeast;  // of each method; a tenth of the mean if it is not told
};

/// The outcome of a storm.
struct Verdict {
   std::vector<std::string> findings;  // the first of them
   std::size_t count = 0;              // of all
   double seconds = 0;
   std::string words;  // what the agent wrote to its stderr, if there are findings
};

/// A storm over an agent of its own. It has rounds, and each has three parts: wild, when anything is called; calm, when
/// an orderly client goes its way beside it and is compared with a model; and the orderly client alone, which resyncs.
/// In the end the agent must have forgotten all clients, and end in order.
Verdict runStorm(Options const& options, Tally& tally);

}  // namespace VelmSdkRpc::storm
