#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "bench/Places.h"
#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {

/// The part of the command line that all contests share.
struct ContestOptions {
   std::string agent;  // paths of the two programs
   std::string floor;
   std::string json;  // where to leave the JSON; empty for nowhere
   std::vector<Order> orders{Order::ascending, Order::shuffled, Order::repeated};
   std::size_t rounds = 11;
   std::size_t adds = 100'000;   // by each server in each round
   std::size_t outstanding = 4;  // calls in flight
};
void addContestOptions(Program& program, ContestOptions& options);
void addContestFacts(Report& report, ContestOptions const& options);

/// Servers that do the same adds in turn: the floor, which keeps nothing, and agents, each with a table of its own.
class Contest {
 public:
   /// Both stay the caller's.
   Contest(Subject const& subject, ContestOptions const& options) : subject_(subject), options_(options) {}

   /// Start a server; an agent's table is filled. `size` is that of the table that the adds lie beside. Throw
   /// std::invalid_argument for a size that leaves too few fresh keys.
   void enterFloor(std::size_t size);
   void enterAgent(char const* name, std::vector<std::string> arguments, std::size_t size);

   std::size_t contenders() const { return contenders_.size(); }
   std::string const& nameOf(std::size_t contender) const { return contenders_[contender].server.name(); }
   std::size_t sizeOf(std::size_t contender) const { return contenders_[contender].places.held(); }

   /// Samples by contender, in the order of entry, then by round.
   using Samples = std::vector<std::vector<Sample>>;
   /// Lets every contender do all adds of each round.
   Samples compare(Order order) { return compare(order, options_.rounds); }
   /// The same once and for nothing.
   void warmUp() { compare(Order::ascending, 1); }

 private:
   struct Contender {
      Contender(std::string name, std::string const& program, std::vector<std::string> arguments, Places places);

      Server server;
      Places const places;
      bool keeps = false;  // what is added
      Prepare prepare;
   };

   Places placesOf(std::size_t size) const;
   Samples compare(Order order, std::size_t rounds);
   Sample measure(Contender& contender, Order order, std::size_t round, std::size_t lap) const;
   std::size_t lap() const;

   Subject const& subject_;
   ContestOptions const& options_;
   std::deque<Contender> contenders_;
};

}  // namespace VelmSdkRpc::Bench
