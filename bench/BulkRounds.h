#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "bench/Report.h"
#include "bench/Rounds.h"
#include "bench/Server.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {

/// Servers that are asked for the same entries in every round: agents, which hold none of them or all, and a floor,
/// which keeps nothing.
class BulkRounds {
 public:
   struct Options {
      std::size_t entries = 0;
      std::size_t outstanding = 1;  // calls in flight
      std::size_t rounds = 0;
   };
   /// Samples by server, in the order of entry, then by round.
   using Samples = std::vector<std::vector<Sample>>;
   /// Called ahead of the measured calls to an agent, outside the time; what it gives is called behind them.
   using Witness = std::function<std::function<void()>(Server& agent)>;

   /// The subject stays the caller's.
   BulkRounds(Subject const& subject, Options const& options) : subject_(subject), options_(options) {}

   /// Start a server. An agent's session is for the caller to open.
   void enterFloor(std::string const& program);
   Server& enterAgent(char const* name, std::string const& program, std::vector<std::string> arguments);

   std::size_t servers() const { return contenders_.size(); }
   std::string const& nameOf(std::size_t server) const { return contenders_[server].server.name(); }

   /// Lets every server do all rounds, behind one to warm up, without the witness. Fresh entries meet agents that hold
   /// none; repeated ones meet agents that hold just these, and leave them so.
   Samples compare(bool repeated, Witness const& witness = {});

 private:
   struct Contender {
      Contender(std::string name, std::string const& program, std::vector<std::string> arguments);

      Server server;
      std::function<void()> add;
      bool keeps = false;  // what is added, which must go before it is fresh again
   };

   Contender& enter(char const* name, std::string const& program, std::vector<std::string> arguments);
   Sample measure(Contender& contender, bool repeated, Witness const& witness);

   Subject const& subject_;
   Options const options_;
   std::deque<Contender> contenders_;
};

/// What a report shows of such rounds: a row of these columns for each server, and what they mean. `entry` is a noun
/// that takes an s.
std::vector<Report::Column> bulkColumns(std::string const& entry);
void addBulkNotes(Report& report);
std::vector<Report::Cell> bulkRow(char const* which, std::string const& server, std::size_t entries,
                                  std::vector<Sample> const& floor, std::vector<Sample> const& own);
/// The same as a claim.
Report::Claim bulkClaim(std::string const& entry, char const* which, std::string const& server, std::size_t entries,
                        std::vector<Sample> const& floor, std::vector<Sample> const& own);

}  // namespace VelmSdkRpc::Bench
