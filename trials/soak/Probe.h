#pragma once

#include <memory>
#include <string>

#include "clients/support/SwitchConsole.h"
#include "proto/remote/intf.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"
#include "trials/support/Latencies.h"
#include "trials/support/Stop.h"

namespace VelmSdkRpc::soak {

/// A client that does one small thing at a time and looks at the clock: a route, a description, and the event which
/// that causes. Its interface is nobody else's.
class Probe {
 public:
   Probe(std::shared_ptr<grpc::Channel> const& channel, SwitchConsole const& console);

   /// Until the stop. Throws std::runtime_error if something goes wrong.
   void run(std::stop_token const& stop);

   trials::Latencies& routes() { return routes_; }
   trials::Latencies& descriptions() { return descriptions_; }
   /// From just before the call that causes it.
   trials::Latencies& events() { return events_; }

 private:
   using Intfs = velm::remote::IntfMgrService;

   void setRoute();
   void describe(grpc::ClientReader<velm::remote::WatchIntfResponse>& events);

   std::unique_ptr<pb::velmsdk_service::Stub> const native_;
   std::unique_ptr<Intfs::Stub> const intfs_;
   trials::Latencies routes_;
   trials::Latencies descriptions_;
   trials::Latencies events_;
   std::size_t described_ = 0;
};

}  // namespace VelmSdkRpc::soak
