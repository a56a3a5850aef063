#include "remote/BgpPathService.h"

#include <utility>

#include "convert/BgpPath.h"
#include "platform/loom/TaskScheduler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using Async = BgpPathService::AsyncService;
using Mgr = velm::bgp_path_mgr;
using types::convert;
using velm::remote::IP_VERSION_IPV4;
using velm::remote::IP_VERSION_IPV6;

struct Watch : SubscribedWatch<&Async::Requestwatch> {
   static bool filter(Request const& request, Response const& response) {
      return response.ready() || request.all() || (request.ipv4() && response.ip_version() == IP_VERSION_IPV4) ||
             (request.ipv6() && response.ip_version() == IP_VERSION_IPV6);
   }
};

/// Streams the paths that the manager's operation gives.
template <auto post, auto operation>
struct Paths : Method<post> {
   using typename Method<post>::Request;
   using typename Method<post>::Response;
   static auto call(BgpPathService& service, Request const& request) {
      return (service.mgr().*operation)(convert(request.options()));
   }
   static Response response(velm::bgp_path_t const& path) {
      Response response;
      *response.mutable_path() = convert(path);
      return response;
   }
};

template <auto post, auto operation>
struct Path : Method<post> {
   using typename Method<post>::Request;
   using typename Method<post>::Response;
   static Response call(BgpPathService& service, Request const& request) {
      Response response;
      *response.mutable_path() = convert((service.mgr().*operation)(convert(request.key())));
      return response;
   }
};

template <auto post, auto operation>
struct Convergence : Method<post> {
   using typename Method<post>::Request;
   using typename Method<post>::Response;
   static Response call(BgpPathService& service, Request const& /*request*/) {
      Response response;
      response.set_converged((service.mgr().*operation)());
      return response;
   }
};

struct Ipv4UnicastPaths : Paths<&Async::Requestipv4_unicast_paths, &Mgr::ipv4_unicast_path_iter> {};
struct Ipv6UnicastPaths : Paths<&Async::Requestipv6_unicast_paths, &Mgr::ipv6_unicast_path_iter> {};
struct Ipv4UnicastPath : Path<&Async::Requestipv4_unicast_path, &Mgr::ipv4_unicast_path> {};
struct Ipv6UnicastPath : Path<&Async::Requestipv6_unicast_path, &Mgr::ipv6_unicast_path> {};
struct Ipv4BgpConvergence
   : Convergence<&Async::Requestipv4_unicast_bgp_convergence, &Mgr::ipv4_unicast_bgp_convergence> {};
struct Ipv6BgpConvergence
   : Convergence<&Async::Requestipv6_unicast_bgp_convergence, &Mgr::ipv6_unicast_bgp_convergence> {};

}  // namespace

BgpPathService::BgpPathService(velm::bgp_path_mgr* mgr)
   : GrpcService("bgp-path"),
     bgp_path_handler(mgr),
     pathBacklog_("BgpPathKeyBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(), BgpPathKeyBacklog(*this)),
     convergedBacklog_("BgpPathConvergedBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(),
                       BgpConvergedBacklog(*this)) {}

void BgpPathService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void BgpPathService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<IteratorStreamingHandler, Ipv4UnicastPaths>(*this);
   registerAdapter<UnaryRequestHandler, Ipv4UnicastPath>(*this);
   registerAdapter<UnaryRequestHandler, Ipv4BgpConvergence>(*this);
   registerAdapter<IteratorStreamingHandler, Ipv6UnicastPaths>(*this);
   registerAdapter<UnaryRequestHandler, Ipv6UnicastPath>(*this);
   registerAdapter<UnaryRequestHandler, Ipv6BgpConvergence>(*this);
}

void BgpPathService::publish(Event const& response) {
   subscriptions_.publishA<WatchOf<Watch, BgpPathService>>(response);
}

void BgpPathService::publishPath(velm::remote::IpVersion version, velm::bgp_path_key_t const& key) {
   Event event;
   event.set_ip_version(version);
   *event.mutable_path_key() = convert(key);
   pathBacklog_.put(key, std::move(event));
}

void BgpPathService::publishConverged(velm::remote::IpVersion version, bool converged) {
   Event event;
   event.set_ip_version(version);
   event.set_converged(converged);
   convergedBacklog_.put(version, std::move(event));
}

void BgpPathService::on_ipv4_unicast_path(velm::bgp_path_key_t const& key) { publishPath(IP_VERSION_IPV4, key); }
void BgpPathService::on_ipv6_unicast_path(velm::bgp_path_key_t const& key) { publishPath(IP_VERSION_IPV6, key); }
void BgpPathService::on_ipv4_unicast_bgp_converged(bool converged) { publishConverged(IP_VERSION_IPV4, converged); }
void BgpPathService::on_ipv6_unicast_bgp_converged(bool converged) { publishConverged(IP_VERSION_IPV6, converged); }

}  // namespace VelmSdkRpc
