#include "remote/MacsecService.h"

#include <utility>

#include "convert/Macsec.h"
#include "convert/Values.h"
#include "platform/loom/TaskScheduler.h"
#include "remote/StreamedElements.h"
#include "rpc/BulkRequestHandler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = MacsecService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {};

struct Exists : Method<&AsyncService::Requestexists> {
   static Response call(MacsecService& service, Request const& request) {
      Response response;
      response.set_exists(service.mgr().exists(request.name()));
      return response;
   }
};

struct Profile : Method<&AsyncService::Requestprofile> {
   static Response call(MacsecService& service, Request const& request) {
      Response response;
      *response.mutable_profile() = convert(service.mgr().profile(request.name()));
      return response;
   }
};

struct ProfileSet : Method<&AsyncService::Requestprofile_set> {
   static Response call(MacsecService& service, Request const& request) {
      service.mgr().profile_set(convert(request.profile()));
      return {};
   }
};

struct ProfileDel : Method<&AsyncService::Requestprofile_del> {
   static Response call(MacsecService& service, Request const& request) {
      service.mgr().profile_del(request.name());
      return {};
   }
};

struct IntfProfile : Method<&AsyncService::Requestintf_profile> {
   static Response call(MacsecService& service, Request const& request) {
      Response response;
      response.set_name(service.mgr().intf_profile(convert(request.intf())));
      return response;
   }
};

struct IntfProfileIs : Method<&AsyncService::Requestintf_profile_is> {
   static Response call(MacsecService& service, Request const& request) {
      service.mgr().intf_profile_is(convert(request.intf()), request.name());
      return {};
   }
};

struct BulkProfileSet : BulkOf<&AsyncService::Requestbulk_profile_set, ProfileSet> {};
struct BulkProfileDel : BulkOf<&AsyncService::Requestbulk_profile_del, ProfileDel> {};
struct BulkIntfProfileIs : BulkOf<&AsyncService::Requestbulk_intf_profile_is, IntfProfileIs> {};

struct MacsecCapable : Method<&AsyncService::Requestmacsec_capable> {
   static Response call(MacsecService& service, Request const& request) {
      Response response;
      response.set_capable(service.mgr().macsec_capable(convert(request.intf())));
      return response;
   }
};

struct IntfStatus : Method<&AsyncService::Requestintf_status> {
   static Response call(MacsecService& service, Request const& request) {
      Response response;
      *response.mutable_status() = convert(service.mgr().intf_status(convert(request.intf())));
      return response;
   }
};

struct IntfCounters : Method<&AsyncService::Requestintf_counters> {
   static Response call(MacsecService& service, Request const& request) {
      Response response;
      *response.mutable_counters() = convert(service.mgr().intf_counters(convert(request.intf())));
      return response;
   }
};

struct MacsecProfiles : StreamedNames<&AsyncService::Requestmacsec_profiles> {
   static auto call(MacsecService& service, Request const& /*request*/) { return service.mgr().macsec_profile_iter(); }
};

struct MacsecIntfStatuses : StreamedIntfs<&AsyncService::Requestmacsec_intf_statuses> {
   static auto call(MacsecService& service, Request const& /*request*/) {
      return service.mgr().macsec_intf_status_iter();
   }
};

}  // namespace

MacsecService::MacsecService(velm::macsec_mgr* mgr)
   : GrpcService("macsec"),
     macsec_handler(mgr),
     backlog_("macsec_backlog", Loom::TaskSchedulerRoot::findOrCreateScheduler(), MacsecBacklog(*this)) {}

void MacsecService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void MacsecService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, Profile>(*this);
   registerAdapter<UnaryRequestHandler, ProfileSet>(*this);
   registerAdapter<BulkRequestHandler, BulkProfileSet>(*this);
   registerAdapter<UnaryRequestHandler, ProfileDel>(*this);
   registerAdapter<BulkRequestHandler, BulkProfileDel>(*this);
   registerAdapter<UnaryRequestHandler, IntfProfile>(*this);
   registerAdapter<UnaryRequestHandler, IntfProfileIs>(*this);
   registerAdapter<BulkRequestHandler, BulkIntfProfileIs>(*this);
   registerAdapter<UnaryRequestHandler, MacsecCapable>(*this);
   registerAdapter<UnaryRequestHandler, IntfStatus>(*this);
   registerAdapter<UnaryRequestHandler, IntfCounters>(*this);
   registerAdapter<IteratorStreamingHandler, MacsecProfiles>(*this);
   registerAdapter<IteratorStreamingHandler, MacsecIntfStatuses>(*this);
}

void MacsecService::publish(velm::remote::MacsecWatchResponse const& response) {
   subscriptions_.publishA<WatchOf<Watch, MacsecService>>(response);
}

void MacsecService::on_intf_status(velm::intf_id_t intf, velm::macsec_intf_status_t const& status) {
   velm::remote::MacsecWatchResponse response;
   *response.mutable_intf() = convert(intf);
   *response.mutable_status() = convert(status);
   backlog_.put(intf, std::move(response));
}

}  // namespace VelmSdkRpc
