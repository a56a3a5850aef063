#pragma once

#include <memory>
#include <string>

#include "proto/remote/intf.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"
#include "trials/soak/Halt.h"
#include "trials/soak/Latencies.h"
#include "trials/storm/AgentState.h"
#include "trials/storm/Findings.h"

namespace VelmSdkRpc::soak {

/// A client that does one small thing at a time and looks at the clock: a route, a description, and the event which
/// that causes. Its interface is nobody else's.
class Probe {
 public:
   Probe(std::shared_ptr<grpc::Channel> const& channel, storm::Console const& console, storm::Findings& findings);

   /// Until the end of the run. What goes wrong is a finding.
   void run(Halt const& halt);

   Latencies& routes() { return routes_; }
   Latencies& descriptions() { return descriptions_; }
   /// From just before the call that causes it.
   Latencies& events() { return events_; }

 private:
   using Intfs = velm::remote::IntfMgrService;
   using Events = std::unique_ptr<grpc::ClientReader<velm::remote::WatchIntfResponse>>;

   Events watch(grpc::ClientContext& context);
   void setRoute();
   void describe(Events const& events);

   std::unique_ptr<pb::velmsdk_service::Stub> const native_;
   std::unique_ptr<Intfs::Stub> const intfs_;
   storm::Findings& findings_;
   Latencies routes_;
   Latencies descriptions_;
   Latencies events_;
   std::size_t described_ = 0;
};

}  // namespace VelmSdkRpc::soak
