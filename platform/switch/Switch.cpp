#include "platform/switch/Switch.h"

#include <csignal>

// Members are made in the order in which they need each other: the ledger and the loop, then the managers, interfaces
// before their followers, then the dataplane, which reports to managers. So the dataplane cannot be a manager's
// constructor argument: it is handed to them afterwards, before anything can change a table.
//
// The order of a start: dataplaneIs, stateIs, start, run. Each adds to what the one before has left.
namespace velm::embedded {

Switch::Switch()
   : loop(Loom::TaskSchedulerRoot::findOrCreateScheduler()),
     agent(ledger, loop),
     intfs(ledger, loop),
     intfCounters(ledger, intfs),
     ipIntfs(ledger, loop, intfs),
     ethLagIntfs(ledger, loop, intfs),
     macsec(ledger, loop, intfs),
     ipRoutes(ledger),
     mplsRoutes(ledger, loop),
     mplsVrfLabels(ledger),
     nexthopGroups(ledger),
     nexthopGroupTunnels(ledger),
     bfdSessions(ledger, loop),
     bgpPaths(ledger, loop),
     acls(ledger),
     classMaps(ledger),
     policyMaps(ledger, loop),
     vapi(ledger, *this) {
   std::signal(SIGPIPE, SIG_IGN);  // a reader of the trace that went away must not take the agent along
   std::signal(SIGXFSZ, SIG_IGN);  // nor a limit to the state's file: that is an error like a full disk
}

Switch::~Switch() = default;

void Switch::dataplaneIs(DataplaneFactory const& make) {
   sdk_scoped_lock const lock;
   dataplane = make({.loop = loop,
                     .groups = nexthopGroups,
                     .sbfd = bfdSessions,
                     .policyMaps = policyMaps,
                     .ports = intfs,
                     .addresses = ipIntfs});
   intfs.dataplaneIs(*dataplane);
   intfCounters.dataplaneIs(*dataplane);
   ipIntfs.dataplaneIs(*dataplane);
   ipRoutes.dataplaneIs(*dataplane);
   mplsRoutes.dataplaneIs(*dataplane);
   mplsVrfLabels.dataplaneIs(*dataplane);
   nexthopGroups.dataplaneIs(*dataplane);
   nexthopGroupTunnels.dataplaneIs(*dataplane);
   bfdSessions.dataplaneIs(*dataplane);
   acls.dataplaneIs(*dataplane);
   classMaps.dataplaneIs(*dataplane);
   policyMaps.dataplaneIs(*dataplane);
}

std::optional<Switch::Failure> Switch::start(std::vector<std::string> const& configuration) {
   if (auto failure = configure(configuration, commands::Stage::beforePorts)) return failure;
   {
      sdk_scoped_lock const lock;
      dataplane->start();
   }
   return configure(configuration, commands::Stage::withPorts);
}

std::optional<Switch::Failure> Switch::configure(std::vector<std::string> const& commands, commands::Stage stage) {
   Inside const inside(ledger);
   auto const response = vapi.configure(commands, stage);
   if (response.success()) return std::nullopt;
   return Failure{response.responses().size(), response.error_message()};
}

void Switch::stateIs(std::string const& folder) {
   store = std::make_unique<Store>(folder);
   sdk_scoped_lock const lock;
   storeIs(*store);
   store->completeIs();
}

// In the order in which tables rest on one another: interfaces before what hangs on them. The dataplane is there
// already and is told of all that comes back.
void Switch::storeIs(Store& folder) {
   agent.storeIs(folder);
   intfs.storeIs(folder);
   ipIntfs.storeIs(folder);
   ethLagIntfs.storeIs(folder);
   macsec.storeIs(folder);
   ipRoutes.storeIs(folder);
   mplsRoutes.storeIs(folder);
   mplsVrfLabels.storeIs(folder);
   nexthopGroups.storeIs(folder);
   nexthopGroupTunnels.storeIs(folder);
   bfdSessions.storeIs(folder);
   acls.storeIs(folder);
   classMaps.storeIs(folder);
   policyMaps.storeIs(folder);
}

void Switch::run() {
   loop.post([this] { agent.initialize(); });
   loop.run([this] { agent.disable(); });
   dataplane->stop();
}

}  // namespace velm::embedded
