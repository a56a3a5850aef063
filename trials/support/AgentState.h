#pragma once

#include <cstddef>
#include <string>

#include "clients/support/AgentProcess.h"
#include "clients/support/SwitchConsole.h"

namespace VelmSdkRpc::trials {

/// The resources that an agent holds for its clients. Connections and descriptors are those beyond the ones that this
/// process holds open itself.
struct AgentState {
   std::ptrdiff_t connections;
   std::ptrdiff_t descriptors;
   std::ptrdiff_t threads;
   std::string watches;

   static AgentState of(AgentProcess const& agent, SwitchConsole const& console);
   /// Tells of more than before; empty if there is none.
   std::string excessOver(AgentState const& before) const;
};

/// Tells what an agent still holds of clients that have gone, after some time to forget them; empty if nothing.
std::string excessOfClients(AgentProcess const& agent, SwitchConsole const& console, AgentState const& before);

/// Ends an agent by SIGTERM. Tells of what is not in order then; empty if all is.
std::string faultOfEnd(AgentProcess& agent);

/// Private memory of the agent in MiB, without the state folder's file, which the kernel maps for it. Throws
/// std::runtime_error if the agent has gone.
double memoryOf(AgentProcess const& agent);

/// Where the agent has written what only a bug brings about, a sanitizer's report or a failed assertion; npos if it has
/// not.
std::size_t alarmIn(std::string const& words);
/// Its words from its first alarm on, or its last ones.
std::string lastWords(AgentProcess const& agent);

}  // namespace VelmSdkRpc::trials
