#include "trials/soak/Probe.h"

#include <fmt/format.h>

#include <stdexcept>

#include "tests/support/AgentTest.h"
#include "trials/soak/Call.h"

namespace VelmSdkRpc::soak {
namespace {

constexpr auto period = std::chrono::milliseconds(20);
constexpr auto intf = "Loopback900";

}  // namespace

Probe::Probe(std::shared_ptr<grpc::Channel> const& channel, storm::Console const& console, storm::Findings& findings)
   : native_(pb::velmsdk_service::NewStub(channel)), intfs_(Intfs::NewStub(channel)), findings_(findings) {
   console.configure({fmt::format("interface {}", intf)});
}

void Probe::run(Halt const& halt) {
   grpc::ClientContext context;
   try {
      auto const events = watch(context);
      eachBeat(halt, period, [&] {
         setRoute();
         describe(events);
      });
      context.TryCancel();
      events->Finish();
   } catch (std::exception const& e) {
      context.TryCancel();
      findings_.add(fmt::format("the probe: {}", e.what()));
   }
}

Probe::Events Probe::watch(grpc::ClientContext& context) {
   velm::remote::WatchIntfRequest request;
   request.mutable_intf_id()->set_name(intf);
   request.set_notify_ready(true);
   auto events = intfs_->watch(&context, request);
   velm::remote::WatchIntfResponse ready;
   if (!events->Read(&ready)) checkStatus("watch", events->Finish());
   return events;
}

// A route of its own group, which is deleted as well: the controller's resyncs leave nothing of it behind.
void Probe::setRoute() {
   auto const begin = Clock::now();
   call(*native_, &Stub::ip_route, routeMsg("77.255.255.255/32", described_ % 2 == 0 ? "model0" : ""));
   routes_.add(millisecondsSince(begin));
}

void Probe::describe(Events const& events) {
   velm::remote::DescriptionIsRequest request;
   request.mutable_intf_id()->set_name(intf);
   request.set_description(std::to_string(++described_));
   auto const begin = Clock::now();
   call(*intfs_, &Intfs::Stub::description_is, request);
   descriptions_.add(millisecondsSince(begin));
   velm::remote::WatchIntfResponse event;
   do {
      if (!events->Read(&event)) throw std::runtime_error("the watch has ended");
   } while (event.description() != request.description());
   events_.add(millisecondsSince(begin));
}

}  // namespace VelmSdkRpc::soak
