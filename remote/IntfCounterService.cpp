#include "remote/IntfCounterService.h"

#include "convert/Intf.h"
#include "convert/Values.h"
#include "platform/velm/intf.h"
#include "rpc/Method.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = IntfCounterService::AsyncService;
using types::convert;

struct IntfCounters : Method<&AsyncService::Requestintf_counters> {
   static Response call(IntfCounterService& service, Request const& request) {
      Response response;
      *response.mutable_counters() = convert(service.mgr().intf_counters(convert(request.intf_id())));
      return response;
   }
};

struct TrafficRates : Method<&AsyncService::Requestintf_traffic_rates> {
   static Response call(IntfCounterService& service, Request const& request) {
      Response response;
      *response.mutable_rates() = convert(service.mgr().intf_traffic_rates(convert(request.intf_id())));
      return response;
   }
};

}  // namespace

IntfCounterService::IntfCounterService(velm::intf_counter_mgr* mgr) : GrpcService("intf_counter"), mgr_(mgr) {}

void IntfCounterService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void IntfCounterService::startHandlers() {
   registerAdapter<UnaryRequestHandler, IntfCounters>(*this);
   registerAdapter<UnaryRequestHandler, TrafficRates>(*this);
}

}  // namespace VelmSdkRpc
