#include "platform/switch/Switch.h"

#include <csignal>

namespace velm::embedded {

Switch::Switch()
   : loop(Loom::TaskSchedulerRoot::findOrCreateScheduler()),
     agent(ledger, loop),
     intfs(ledger, loop),
     intfCounters(ledger, intfs.table()),
     ipIntfs(ledger, loop, intfs.table()),
     ipRoutes(ledger),
     mplsRoutes(ledger),
     mplsVrfLabels(ledger),
     nexthopGroups(ledger),
     nexthopGroupTunnels(ledger),
     dataplane(loop, nexthopGroups),
     vapi(ledger, *this) {
   std::signal(SIGPIPE, SIG_IGN);  // a reader of the trace that went away must not take the agent along
   intfs.dataplaneIs(dataplane);
   nexthopGroups.dataplaneIs(dataplane);
}

std::optional<Switch::Failure> Switch::configure(std::vector<std::string> const& commands) {
   CallLedger::Inside const inside(ledger);
   auto const response = vapi.run_config_cmds(commands);
   if (response.success()) return std::nullopt;
   return Failure{response.responses().size(), response.error_message()};
}

void Switch::run() {
   loop.post([this] { agent.initialize(); });
   loop.run([this] { agent.disable(); });
}

}  // namespace velm::embedded
