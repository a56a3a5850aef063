#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "trials/support/BigTable.h"
#include "trials/support/Findings.h"
#include "trials/support/Latencies.h"
#include "trials/support/Stop.h"

namespace VelmSdkRpc::soak {

using trials::Clock;

/// An orderly controller with a large table of routes: it moves a thousand of them to other groups with each bulk, and
/// now and then begins a new session with a resync, every other time after one that it broke off half way. After each
/// resync it reads its routes back. Its keys are those that random calls leave alone.
class Controller {
 public:
   Controller(std::shared_ptr<grpc::Channel> const& channel, std::size_t routes, Clock::duration sessionLength);

   /// Until the stop. Throws std::runtime_error if something goes wrong.
   void run(std::stop_token const& stop);
   /// Leaves the switch without what it and the random calls have programmed, such as sessions that follow an
   /// interface, which is then watched. Throws as run does.
   void clear();

   /// How long each bulk of a thousand took.
   trials::Latencies& bulks() { return bulks_; }
   std::uint64_t programmed() const { return programmed_; }
   std::uint64_t resyncs() const { return resyncs_; }

 private:
   static constexpr std::size_t bulkSize = 1000;
   static constexpr std::size_t groups = 64;

   void beginSession(std::stop_token const& stop);
   void startSession();
   void resyncIs(pb::rpc_server_resync_state_enum state);
   void setGroups();
   void setBulk(std::size_t first);

   std::unique_ptr<pb::velmsdk_service::Stub> const stub_;
   trials::BigTable table_;
   Clock::duration const sessionLength_;
   trials::Latencies bulks_;
   std::atomic<std::uint64_t> programmed_ = 0;
   std::atomic<std::uint64_t> resyncs_ = 0;
   std::size_t shift_ = 0;  // which group a route has; changes with every turn over the table
   bool breaksOff_ = false;
};

}  // namespace VelmSdkRpc::soak
