#include "remote/BgpPathService.h"

#include <utility>

#include "convert/BgpPath.h"
#include "remote/MirrorMethods.h"

// Each method stands twice, once for a family, as in the schema and in the manager. The event of a path holds its key
// alone, for the newest event of a key replaces the one that waits: a client reads the path itself.
namespace VelmSdkRpc {
namespace {

using AsyncService = BgpPathService::AsyncService;
using types::convert;
using velm::remote::IP_VERSION_IPV4;
using velm::remote::IP_VERSION_IPV6;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {
   static bool filter(Request const& request, Response const& event) {
      return request.all() || (request.ipv4() && event.ip_version() == IP_VERSION_IPV4) ||
             (request.ipv6() && event.ip_version() == IP_VERSION_IPV6);
   }
};

struct Ipv4UnicastPaths : Method<&AsyncService::Requestipv4_unicast_paths> {
   static auto call(BgpPathService& service, Request const& request) {
      return service.mgr().ipv4_unicast_path_iter(convert(request.options()));
   }
   static void fill(Response& response, velm::bgp_path_t const& path) { *response.mutable_path() = convert(path); }
};

struct Ipv4UnicastPath : Method<&AsyncService::Requestipv4_unicast_path> {
   static void call(BgpPathService& service, Request const& request, Response& response) {
      *response.mutable_path() = convert(service.mgr().ipv4_unicast_path(convert(request.key())));
   }
};

struct Ipv4BgpConvergence : Method<&AsyncService::Requestipv4_unicast_bgp_convergence> {
   static void call(BgpPathService& service, Request const&, Response& response) {
      response.set_converged(service.mgr().ipv4_unicast_bgp_convergence());
   }
};

struct Ipv6UnicastPaths : Method<&AsyncService::Requestipv6_unicast_paths> {
   static auto call(BgpPathService& service, Request const& request) {
      return service.mgr().ipv6_unicast_path_iter(convert(request.options()));
   }
   static void fill(Response& response, velm::bgp_path_t const& path) { *response.mutable_path() = convert(path); }
};

struct Ipv6UnicastPath : Method<&AsyncService::Requestipv6_unicast_path> {
   static void call(BgpPathService& service, Request const& request, Response& response) {
      *response.mutable_path() = convert(service.mgr().ipv6_unicast_path(convert(request.key())));
   }
};

struct Ipv6BgpConvergence : Method<&AsyncService::Requestipv6_unicast_bgp_convergence> {
   static void call(BgpPathService& service, Request const&, Response& response) {
      response.set_converged(service.mgr().ipv6_unicast_bgp_convergence());
   }
};

}  // namespace

void BgpPathService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<IteratorStreamingHandler, Ipv4UnicastPaths>(*this);
   registerAdapter<UnaryRequestHandler, Ipv4UnicastPath>(*this);
   registerAdapter<UnaryRequestHandler, Ipv4BgpConvergence>(*this);
   registerAdapter<IteratorStreamingHandler, Ipv6UnicastPaths>(*this);
   registerAdapter<UnaryRequestHandler, Ipv6UnicastPath>(*this);
   registerAdapter<UnaryRequestHandler, Ipv6BgpConvergence>(*this);
}

void BgpPathService::publish(Event const& event) { subscriptions().publishA<WatchOf<Watch, BgpPathService>>(event); }

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
