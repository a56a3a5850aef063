#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "bench/Kinds.h"
#include "bench/Places.h"
#include "bench/Rounds.h"
#include "bench/Server.h"
#include "clients/support/AsyncClient.h"

namespace VelmSdkRpc::Bench {

/// Servers that are asked for the same in turns: agents, each with a table of its own, and a floor, which keeps
/// nothing. They run from their entering until this object goes. One thread.
class Contest {
 public:
   struct Options {
      Kind kind;
      std::function<Requests(PlaceList const& places)> calls;  // that are measured
      bool changes = true;              // the calls add entries, which go again between the rounds
      std::size_t elements = bulkSize;  // in a call that fills or clears a table
      std::size_t perRound = 0;         // entries that each server is asked for in a round
      std::size_t outstanding = 1;      // calls under way
   };

   explicit Contest(Options options) : options_(std::move(options)) {}

   /// Start a server and give its number; an agent's table is filled. `size` is that of the table that the entries
   /// asked for lie beside. Throw std::invalid_argument for one that leaves too few fresh keys.
   std::size_t enterFloor(std::string const& program, std::size_t size);
   std::size_t enterAgent(std::string const& program, std::vector<std::string> arguments, std::size_t size);

   /// Lets every server do all of each round. The samples come by its number, then by round.
   std::vector<std::vector<Sample>> compare(Order order, std::size_t rounds);

 private:
   struct Contender {
      Contender(std::string const& program, std::vector<std::string> arguments, Places places, bool keeps)
         : server(program, std::move(arguments)), places(std::move(places)), keeps(keeps) {}

      Server server;
      Places const places;
      bool const keeps;  // what it is asked for
      AsyncClient client{};
   };

   Places placesOf(std::size_t size) const;
   std::size_t lap() const;
   Sample measure(Contender& contender, Order order, std::size_t round, std::size_t lap) const;

   Options const options_;
   std::deque<Contender> contenders_;
};

}  // namespace VelmSdkRpc::Bench
