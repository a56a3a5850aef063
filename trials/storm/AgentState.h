#pragma once

#include <chrono>
#include <string>

#include "clients/support/AgentProcess.h"
#include "proto/remote/vapi.grpc.pb.h"

namespace VelmSdkRpc::storm {

/// The switch's command line behind a channel of its own.
class Console {
 public:
   explicit Console(AgentProcess const& agent);

   /// Throws std::runtime_error if the agent does not answer, or the command fails.
   std::string show(std::string const& command) const;
   void configure(std::vector<std::string> const& commands) const;

 private:
   std::unique_ptr<velm::remote::VapiMgrService::Stub> const stub_;
};

/// What an agent holds for its clients. Connections and descriptors are those beyond the ones that this process holds
/// open itself.
struct AgentState {
   std::ptrdiff_t connections;
   std::ptrdiff_t descriptors;
   std::ptrdiff_t threads;
   std::string watches;

   static AgentState of(AgentProcess const& agent, Console const& console);
   /// What there is more than before; empty if nothing is.
   std::string excessOver(AgentState const& before) const;
};

/// What an agent still holds of clients that have gone, after some time to forget them; empty if nothing.
std::string excessOfClients(AgentProcess const& agent, Console const& console, AgentState const& before);

}  // namespace VelmSdkRpc::storm
