#include "remote/IntfCounterService.h"

#include "convert/Intf.h"
#include "remote/MirrorMethods.h"

// Two reads and no watch: counters change with every packet, so whoever wants them asks at a pace of his own.
namespace VelmSdkRpc {
namespace {

using AsyncService = IntfCounterService::AsyncService;
using types::convert;

struct IntfCounters : Method<&AsyncService::Requestintf_counters> {
   static void call(IntfCounterService& service, Request const& request, Response& response) {
      *response.mutable_counters() = convert(service.mgr().intf_counters(convert(request.intf_id())));
   }
};

struct TrafficRates : Method<&AsyncService::Requestintf_traffic_rates> {
   static void call(IntfCounterService& service, Request const& request, Response& response) {
      *response.mutable_rates() = convert(service.mgr().intf_traffic_rates(convert(request.intf_id())));
   }
};

}  // namespace

void IntfCounterService::startHandlers() {
   registerAdapter<UnaryRequestHandler, IntfCounters>(*this);
   registerAdapter<UnaryRequestHandler, TrafficRates>(*this);
}

}  // namespace VelmSdkRpc
