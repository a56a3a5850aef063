#include "trials/soak/Probe.h"

#include <stdexcept>

#include "clients/support/Call.h"
#include "tests/support/NativeMessages.h"

namespace VelmSdkRpc::soak {
namespace {

using trials::Clock;
using velm::remote::WatchIntfResponse;

constexpr auto intf = "Loopback900";

/// Ends a watch however its reader is left.
struct Ended {
   grpc::ClientContext& context;
   grpc::ClientReader<WatchIntfResponse>& reader;
   ~Ended() {
      context.TryCancel();
      reader.Finish();
   }
};

WatchIntfResponse next(grpc::ClientReader<WatchIntfResponse>& events) {
   WatchIntfResponse event;
   if (!events.Read(&event)) throw std::runtime_error("the watch has ended");
   return event;
}

}  // namespace

Probe::Probe(std::shared_ptr<grpc::Channel> const& channel, SwitchConsole const& console)
   : native_(pb::velmsdk_service::NewStub(channel)), intfs_(Intfs::NewStub(channel)) {
   console.configure({std::string("interface ") + intf});
}

void Probe::run(std::stop_token const& stop) {
   velm::remote::WatchIntfRequest request;
   request.mutable_intf_id()->set_name(intf);
   request.set_notify_ready(true);
   grpc::ClientContext context;
   auto const events = intfs_->watch(&context, request);
   Ended const ended{context, *events};
   next(*events);  // the marker
   trials::eachBeat(stop, std::chrono::milliseconds(20), [&] {
      setRoute();
      describe(*events);
   });
}

// A route of a group that the controller keeps; it is deleted as well, so that the controller's resyncs find nothing.
void Probe::setRoute() {
   auto const begin = Clock::now();
   call(*native_, &pb::velmsdk_service::Stub::ip_route,
        routeMsg("77.255.255.255/32", described_ % 2 == 0 ? "model0" : ""));
   routes_.addSince(begin);
}

void Probe::describe(grpc::ClientReader<WatchIntfResponse>& events) {
   velm::remote::DescriptionIsRequest request;
   request.mutable_intf_id()->set_name(intf);
   request.set_description(std::to_string(++described_));
   auto const begin = Clock::now();
   call(*intfs_, &Intfs::Stub::description_is, request);
   descriptions_.addSince(begin);
   while (next(events).description() != request.description()) continue;
   events_.addSince(begin);
}

}  // namespace VelmSdkRpc::soak
