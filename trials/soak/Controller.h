#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "proto/remote/ip_route.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"
#include "trials/soak/Halt.h"
#include "trials/soak/Latencies.h"
#include "trials/storm/Findings.h"

namespace VelmSdkRpc::soak {

/// An orderly controller with a large table of routes: it moves a thousand of them to other groups with each bulk, and
/// now and then begins a new session with a resync, every other time behind one that it broke off half way. After each
/// resync it reads its routes back. Its keys are those that random calls leave alone.
class Controller {
 public:
   Controller(std::shared_ptr<grpc::Channel> const& channel, std::size_t routes, Clock::duration sessionLength,
              storm::Findings& findings);

   /// Until the end of the run. What goes wrong is a finding.
   void run(Halt const& halt);

   /// Behind the run: leaves the switch without what it and the random calls have programmed, such as sessions that
   /// follow an interface, which is then watched.
   void clear();

   /// Of each bulk of a thousand.
   Latencies& bulks() { return bulks_; }
   std::uint64_t programmed() const { return programmed_; }
   std::uint64_t resyncs() const { return resyncs_; }

 private:
   static constexpr std::size_t bulkSize = 1000;
   static constexpr std::size_t groups = 64;

   void startResync();
   void beginSession(Halt const& halt);
   void setResync(pb::rpc_server_resync_state_enum state);
   void setGroups();
   /// So many routes from the first on; false if the run ended meanwhile.
   bool setRoutes(std::size_t first, std::size_t count, Halt const& halt);
   void setBulk(std::size_t first);
   void checkRoutes();

   std::shared_ptr<grpc::Channel> const channel_;
   std::unique_ptr<pb::velmsdk_service::Stub> const stub_;
   std::size_t const routes_;
   Clock::duration const sessionLength_;
   storm::Findings& findings_;
   Latencies bulks_;
   std::atomic<std::uint64_t> programmed_ = 0;
   std::atomic<std::uint64_t> resyncs_ = 0;
   std::size_t shift_ = 0;  // which group a route has; changes with every turn over the table
   bool breaksOff_ = false;
};

}  // namespace VelmSdkRpc::soak
