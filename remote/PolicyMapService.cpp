#include "remote/PolicyMapService.h"

#include <utility>

#include "convert/Enums.h"
#include "convert/PolicyMap.h"
#include "remote/MirrorMethods.h"

// A set is answered twice, by the call and later by an event: whether the hardware took the policy map is known only
// then. Of a burst the newest event of each policy map counts, and the last word is the one that holds.
namespace VelmSdkRpc {
namespace {

using AsyncService = PolicyMapService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {
   // A request that selects nothing has the empty key, and that is then the one it watches.
   static bool filter(Request const& request, Response const& event) {
      return request.all() ||
             (event.key().name() == request.key().name() && event.key().feature() == request.key().feature());
   }
};

struct ResyncInit : ResyncInitOf<&AsyncService::Requestresync_init> {};
struct ResyncComplete : ResyncCompleteOf<&AsyncService::Requestresync_complete> {};

struct Exists : Method<&AsyncService::Requestexists> {
   static void call(PolicyMapService& service, Request const& request, Response& response) {
      response.set_exists(service.mgr().exists(convert(request.key())));
   }
};

struct PolicyMap : Method<&AsyncService::Requestpolicy_map> {
   static void call(PolicyMapService& service, Request const& request, Response& response) {
      *response.mutable_policy_map() = convert(service.mgr().policy_map(convert(request.key())));
   }
};

struct PolicyMapIs : Method<&AsyncService::Requestpolicy_map_is> {
   static void call(PolicyMapService& service, Request const& request, Response&) {
      service.mgr().policy_map_is(convert(request.policy_map()));
   }
};

struct PolicyMapDel : Method<&AsyncService::Requestpolicy_map_del> {
   static void call(PolicyMapService& service, Request const& request, Response&) {
      service.mgr().policy_map_del(convert(request.key()));
   }
};

// If several are wrong, the first in the order key, interface, direction is reported.
struct PolicyMapApply : Method<&AsyncService::Requestpolicy_map_apply> {
   static void call(PolicyMapService& service, Request const& request, Response&) {
      auto const key = convert(request.key());
      auto const intf = convert(request.intf());
      service.mgr().policy_map_apply(key, intf, convert(request.direction()), request.apply());
   }
};

struct BulkPolicyMapIs : BulkOf<&AsyncService::Requestbulk_policy_map_is, PolicyMapIs> {};
struct BulkPolicyMapDel : BulkOf<&AsyncService::Requestbulk_policy_map_del, PolicyMapDel> {};
struct BulkPolicyMapApply : BulkOf<&AsyncService::Requestbulk_policy_map_apply, PolicyMapApply> {};

struct PolicyMaps : Method<&AsyncService::Requestpolicy_maps> {
   static auto call(PolicyMapService& service, Request const&) { return service.mgr().policy_map_iter(); }
   static void fill(Response& response, velm::policy_map_key_t const& key) { *response.mutable_key() = convert(key); }
};

struct PolicyMapHwStatuses : Method<&AsyncService::Requestpolicy_map_hw_statuses> {
   static auto call(PolicyMapService& service, Request const&) { return service.mgr().policy_map_hw_status_iter(); }
   static void fill(Response& response, velm::policy_map_key_t const& key) { *response.mutable_key() = convert(key); }
};

struct HwStatus : Method<&AsyncService::Requesthw_status> {
   static void call(PolicyMapService& service, Request const& request, Response& response) {
      *response.mutable_hw_status() = convert(service.mgr().hw_status(convert(request.key())));
   }
};

}  // namespace

void PolicyMapService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, ResyncComplete>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, PolicyMap>(*this);
   registerAdapter<UnaryRequestHandler, PolicyMapIs>(*this);
   registerAdapter<BulkRequestHandler, BulkPolicyMapIs>(*this);
   registerAdapter<UnaryRequestHandler, PolicyMapDel>(*this);
   registerAdapter<BulkRequestHandler, BulkPolicyMapDel>(*this);
   registerAdapter<IteratorStreamingHandler, PolicyMaps>(*this);
   registerAdapter<UnaryRequestHandler, PolicyMapApply>(*this);
   registerAdapter<BulkRequestHandler, BulkPolicyMapApply>(*this);
   registerAdapter<IteratorStreamingHandler, PolicyMapHwStatuses>(*this);
   registerAdapter<UnaryRequestHandler, HwStatus>(*this);
}

void PolicyMapService::publish(Event const& event) {
   subscriptions().publishA<WatchOf<Watch, PolicyMapService>>(event);
}

template <class Fill>
void PolicyMapService::enter(velm::policy_map_key_t const& key, Fill&& fill) {
   Event event;
   *event.mutable_key() = convert(key);
   fill(event);
   backlog_.put(key, std::move(event));
}

void PolicyMapService::on_policy_map_sync(velm::policy_map_key_t const& key) {
   enter(key, [](Event& event) { event.set_event(velm::remote::POLICY_MAP_EVENT_SYNC); });
}

void PolicyMapService::on_policy_map_sync_fail(velm::policy_map_key_t const& key, std::string const& message) {
   enter(key, [&](Event& event) { event.set_sync_fail_message(message); });
}

void PolicyMapService::on_policy_map_config_set(velm::policy_map_key_t const& key) {
   enter(key, [](Event& event) { event.set_event(velm::remote::POLICY_MAP_EVENT_CONFIG_SET); });
}

}  // namespace VelmSdkRpc
