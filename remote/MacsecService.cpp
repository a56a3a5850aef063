#include "remote/MacsecService.h"

#include <utility>

#include "convert/Macsec.h"
#include "remote/MirrorMethods.h"

// Profiles hold keys. They are converted and passed on, and no line is traced here, so that no key comes into a trace
// by way of a mirror.
namespace VelmSdkRpc {
namespace {

using AsyncService = MacsecService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {};

struct Exists : Method<&AsyncService::Requestexists> {
   static void call(MacsecService& service, Request const& request, Response& response) {
      response.set_exists(service.mgr().exists(request.name()));
   }
};

struct Profile : Method<&AsyncService::Requestprofile> {
   static void call(MacsecService& service, Request const& request, Response& response) {
      *response.mutable_profile() = convert(service.mgr().profile(request.name()));
   }
};

struct ProfileSet : Method<&AsyncService::Requestprofile_set> {
   static void call(MacsecService& service, Request const& request, Response&) {
      service.mgr().profile_set(convert(request.profile()));
   }
};

struct ProfileDel : Method<&AsyncService::Requestprofile_del> {
   static void call(MacsecService& service, Request const& request, Response&) {
      service.mgr().profile_del(request.name());
   }
};

struct IntfProfile : Method<&AsyncService::Requestintf_profile> {
   static void call(MacsecService& service, Request const& request, Response& response) {
      response.set_name(service.mgr().intf_profile(convert(request.intf())));
   }
};

struct IntfProfileIs : Method<&AsyncService::Requestintf_profile_is> {
   static void call(MacsecService& service, Request const& request, Response&) {
      service.mgr().intf_profile_is(convert(request.intf()), request.name());
   }
};

struct BulkProfileSet : BulkOf<&AsyncService::Requestbulk_profile_set, ProfileSet> {};
struct BulkProfileDel : BulkOf<&AsyncService::Requestbulk_profile_del, ProfileDel> {};
struct BulkIntfProfileIs : BulkOf<&AsyncService::Requestbulk_intf_profile_is, IntfProfileIs> {};

struct MacsecCapable : Method<&AsyncService::Requestmacsec_capable> {
   static void call(MacsecService& service, Request const& request, Response& response) {
      response.set_capable(service.mgr().macsec_capable(convert(request.intf())));
   }
};

struct IntfStatus : Method<&AsyncService::Requestintf_status> {
   static void call(MacsecService& service, Request const& request, Response& response) {
      *response.mutable_status() = convert(service.mgr().intf_status(convert(request.intf())));
   }
};

struct IntfCounters : Method<&AsyncService::Requestintf_counters> {
   static void call(MacsecService& service, Request const& request, Response& response) {
      *response.mutable_counters() = convert(service.mgr().intf_counters(convert(request.intf())));
   }
};

struct MacsecProfiles : Method<&AsyncService::Requestmacsec_profiles> {
   static auto call(MacsecService& service, Request const&) { return service.mgr().macsec_profile_iter(); }
   static void fill(Response& response, std::string const& name) { response.set_name(name); }
};

struct MacsecIntfStatuses : Method<&AsyncService::Requestmacsec_intf_statuses> {
   static auto call(MacsecService& service, Request const&) { return service.mgr().macsec_intf_status_iter(); }
   static void fill(Response& response, velm::intf_id_t const& intf) { *response.mutable_intf() = convert(intf); }
};

}  // namespace

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

void MacsecService::publish(Event const& event) { subscriptions().publishA<WatchOf<Watch, MacsecService>>(event); }

void MacsecService::on_intf_status(velm::intf_id_t intf, velm::macsec_intf_status_t const& status) {
   // All is converted before anything is put: one that throws leaves the event that waits.
   Event event;
   *event.mutable_intf() = convert(intf);
   *event.mutable_status() = convert(status);
   backlog_.put(intf, std::move(event));
}

}  // namespace VelmSdkRpc
