#include "trials/storm/Vanisher.h"

#include <random>
#include <utility>
#include <vector>

#include "trials/support/Caller.h"
#include "trials/support/SelfProcess.h"
#include "trials/support/Stop.h"

namespace VelmSdkRpc::storm {

using trials::Clock;

std::jthread vanishers(std::string address, Weather weather, std::uint32_t seed) {
   return std::jthread([address = std::move(address), weather, seed](std::stop_token const& stop) {
      std::mt19937 random(seed);
      while (!stop.stop_requested()) {
         std::vector<std::string> words{"--vanish-from", address, "--seed", std::to_string(random() >> 2U)};
         if (weather == Weather::calm) words.emplace_back("--calm");
         trials::SelfProcess const client(std::move(words));
         trials::awaitTime(stop, Clock::now() + std::chrono::milliseconds(50 + random() % 1000));
      }
   });
}

void vanish(std::string const& address, Weather weather, std::uint32_t seed) {
   trials::Tally tally;
   trials::Findings findings;
   trials::Caller caller(address, nullptr, tally, findings, seed);
   auto const end = Clock::now() + std::chrono::seconds(10);  // should its parent have vanished itself
   caller.run(weather, [&] { return Clock::now() < end; });
}

}  // namespace VelmSdkRpc::storm
