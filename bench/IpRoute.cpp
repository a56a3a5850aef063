// Single ip_route adds, many outstanding, against a table of a million routes.

#include <memory>
#include <utility>
#include <vector>

#include "bench/Caller.h"
#include "bench/RouteBenchmark.h"
#include "bench/Routes.h"

namespace VelmSdkRpc::Bench {
namespace {

class SingleRoutes : public BulkSubject<IpRoutes> {
 public:
   using BulkSubject::BulkSubject;

   Prepare prepareFor(Server& server, std::size_t outstanding) const override {
      auto const caller =
         std::make_shared<Caller<&pb::velmsdk_service::Stub::Asyncip_route>>(server.channel(), outstanding);
      return [this, caller](PlaceList const& places) {
         std::vector<pb::ip_route_msg> requests;
         requests.reserve(places.size());
         for (auto const place : places) requests.push_back(kind().add(place));
         return [caller, requests = std::move(requests)] { caller->call(requests); };
      };
   }
};

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::IpRoutes const routes;
   Bench::SingleRoutes const subject(routes);
   Bench::ContestOptions defaults;
   defaults.adds = 20'000;
   defaults.outstanding = 64;
   return Bench::routeBenchmark(argc, argv, {.name = "ip_route", .call = "one to a call", .goal = 0.85}, defaults,
                                subject);
}
