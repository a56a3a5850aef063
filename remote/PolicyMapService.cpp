#include "remote/PolicyMapService.h"

#include <utility>

#include "convert/Enums.h"
#include "convert/PolicyMap.h"
#include "convert/Values.h"
#include "platform/loom/TaskScheduler.h"
#include "remote/ResyncMethods.h"
#include "rpc/BulkRequestHandler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = PolicyMapService::AsyncService;
using types::convert;
using velm::remote::PolicyMapWatchResponse;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {
   static bool filter(Request const& request, Response const& response) {
      return response.ready() || request.all() ||
             (response.key().name() == request.key().name() && response.key().feature() == request.key().feature());
   }
};

struct ResyncInit : ResyncInitOf<&AsyncService::Requestresync_init> {};
struct ResyncComplete : ResyncCompleteOf<&AsyncService::Requestresync_complete> {};

struct Exists : Method<&AsyncService::Requestexists> {
   static Response call(PolicyMapService& service, Request const& request) {
      Response response;
      response.set_exists(service.mgr().exists(convert(request.key())));
      return response;
   }
};

struct PolicyMap : Method<&AsyncService::Requestpolicy_map> {
   static Response call(PolicyMapService& service, Request const& request) {
      Response response;
      *response.mutable_policy_map() = convert(service.mgr().policy_map(convert(request.key())));
      return response;
   }
};

struct PolicyMapIs : Method<&AsyncService::Requestpolicy_map_is> {
   static Response call(PolicyMapService& service, Request const& request) {
      service.mgr().policy_map_is(convert(request.policy_map()));
      return {};
   }
};

struct PolicyMapDel : Method<&AsyncService::Requestpolicy_map_del> {
   static Response call(PolicyMapService& service, Request const& request) {
      service.mgr().policy_map_del(convert(request.key()));
      return {};
   }
};

struct PolicyMapApply : Method<&AsyncService::Requestpolicy_map_apply> {
   static Response call(PolicyMapService& service, Request const& request) {
      auto const key = convert(request.key());
      auto const intf = convert(request.intf());
      service.mgr().policy_map_apply(key, intf, convert(request.direction()), request.apply());
      return {};
   }
};

struct BulkPolicyMapIs : BulkOf<&AsyncService::Requestbulk_policy_map_is, PolicyMapIs> {};
struct BulkPolicyMapDel : BulkOf<&AsyncService::Requestbulk_policy_map_del, PolicyMapDel> {};
struct BulkPolicyMapApply : BulkOf<&AsyncService::Requestbulk_policy_map_apply, PolicyMapApply> {};

template <auto post>
struct Keys : Method<post> {
   static typename Method<post>::Response response(velm::policy_map_key_t const& key) {
      typename Method<post>::Response response;
      *response.mutable_key() = convert(key);
      return response;
   }
};

struct PolicyMaps : Keys<&AsyncService::Requestpolicy_maps> {
   static auto call(PolicyMapService& service, Request const& /*request*/) { return service.mgr().policy_map_iter(); }
};

struct PolicyMapHwStatuses : Keys<&AsyncService::Requestpolicy_map_hw_statuses> {
   static auto call(PolicyMapService& service, Request const& /*request*/) {
      return service.mgr().policy_map_hw_status_iter();
   }
};

struct HwStatus : Method<&AsyncService::Requesthw_status> {
   static Response call(PolicyMapService& service, Request const& request) {
      Response response;
      *response.mutable_hw_status() = convert(service.mgr().hw_status(convert(request.key())));
      return response;
   }
};

}  // namespace

PolicyMapService::PolicyMapService(velm::policy_map_mgr* mgr)
   : GrpcService("policy_map"),
     policy_map_handler(mgr),
     backlog_("PolicyMapBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(), PolicyMapEventHandler(*this)) {}

void PolicyMapService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

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

void PolicyMapService::publish(PolicyMapWatchResponse const& response) {
   subscriptions_.publishA<WatchOf<Watch, PolicyMapService>>(response);
}

template <class Fill>
void PolicyMapService::enter(velm::policy_map_key_t const& key, Fill&& fill) {
   PolicyMapWatchResponse response;
   *response.mutable_key() = convert(key);
   fill(response);
   backlog_.put(key, std::move(response));
}

void PolicyMapService::on_policy_map_sync(velm::policy_map_key_t const& key) {
   enter(key, [](auto& response) { response.set_event(velm::remote::POLICY_MAP_EVENT_SYNC); });
}

void PolicyMapService::on_policy_map_sync_fail(velm::policy_map_key_t const& key, std::string const& message) {
   enter(key, [&](auto& response) { response.set_sync_fail_message(message); });
}

void PolicyMapService::on_policy_map_config_set(velm::policy_map_key_t const& key) {
   enter(key, [](auto& response) { response.set_event(velm::remote::POLICY_MAP_EVENT_CONFIG_SET); });
}

}  // namespace VelmSdkRpc
