#include "remote/NexthopGroupService.h"

#include "convert/NexthopGroup.h"
#include "remote/ResyncMethods.h"
#include "remote/StreamedElements.h"
#include "rpc/BulkRequestHandler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = NexthopGroupService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {
   static bool filter(Request const& request, Response const& response) {
      return response.ready() || request.all() || response.name() == request.name();
   }
};
using WatchHandler = WatchOf<Watch, NexthopGroupService>;

struct ResyncInit : ResyncInitOf<&AsyncService::Requestresync_init> {};
struct ResyncComplete : ResyncCompleteOf<&AsyncService::Requestresync_complete> {};

struct NexthopGroups : Method<&AsyncService::Requestnexthop_groups> {
   static auto call(NexthopGroupService& service, Request const& /*request*/) {
      return service.mgr().nexthop_group_iter();
   }
   static Response response(velm::nexthop_group_t const& group) {
      Response response;
      *response.mutable_nexthop_group() = convert(group);
      return response;
   }
};

struct ProgrammedNexthopGroups : StreamedNames<&AsyncService::Requestprogrammed_nexthop_groups> {
   static auto call(NexthopGroupService& service, Request const& /*request*/) {
      return service.mgr().programmed_nexthop_group_iter();
   }
};

struct NexthopGroup : Method<&AsyncService::Requestnexthop_group> {
   static Response call(NexthopGroupService& service, Request const& request) {
      Response response;
      *response.mutable_nexthop_group() = convert(service.mgr().nexthop_group(request.name()));
      return response;
   }
};

struct ProgrammedNexthopGroup : Method<&AsyncService::Requestprogrammed_nexthop_group> {
   static Response call(NexthopGroupService& service, Request const& request) {
      Response response;
      *response.mutable_nexthop_group() = convert(service.mgr().programmed_nexthop_group(request.name()));
      return response;
   }
};

// The entry is cut to its width, unchecked, as the keys of a group's entries are.
struct Counter : Method<&AsyncService::Requestcounter> {
   static Response call(NexthopGroupService& service, Request const& request) {
      Response response;
      *response.mutable_counter() =
         convert(service.mgr().counter(request.name(), static_cast<unsigned short>(request.entry())));
      return response;
   }
};

struct Exists : Method<&AsyncService::Requestexists> {
   static Response call(NexthopGroupService& service, Request const& request) {
      Response response;
      response.set_exists(service.mgr().exists(request.name()));
      return response;
   }
};

struct Active : Method<&AsyncService::Requestactive> {
   static Response call(NexthopGroupService& service, Request const& request) {
      Response response;
      response.set_active(service.mgr().active(request.name()));
      return response;
   }
};

struct NexthopGroupSet : Method<&AsyncService::Requestnexthop_group_set> {
   static Response call(NexthopGroupService& service, Request const& request) {
      service.mgr().nexthop_group_set(convert(request.nexthop_group()));
      return {};
   }
};

struct NexthopGroupDel : Method<&AsyncService::Requestnexthop_group_del> {
   static Response call(NexthopGroupService& service, Request const& request) {
      service.mgr().nexthop_group_del(request.name());
      return {};
   }
};

struct BulkNexthopGroupSet : BulkOf<&AsyncService::Requestbulk_nexthop_group_set, NexthopGroupSet> {};
struct BulkNexthopGroupDel : BulkOf<&AsyncService::Requestbulk_nexthop_group_del, NexthopGroupDel> {};

}  // namespace

NexthopGroupService::NexthopGroupService(velm::nexthop_group_mgr* mgr)
   : GrpcService("nexthop_group"), nexthop_group_handler_v2(mgr) {}

void NexthopGroupService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void NexthopGroupService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, ResyncComplete>(*this);
   registerAdapter<IteratorStreamingHandler, NexthopGroups>(*this);
   registerAdapter<IteratorStreamingHandler, ProgrammedNexthopGroups>(*this);
   registerAdapter<UnaryRequestHandler, NexthopGroup>(*this);
   registerAdapter<UnaryRequestHandler, Counter>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, Active>(*this);
   registerAdapter<UnaryRequestHandler, NexthopGroupSet>(*this);
   registerAdapter<BulkRequestHandler, BulkNexthopGroupSet>(*this);
   registerAdapter<UnaryRequestHandler, NexthopGroupDel>(*this);
   registerAdapter<BulkRequestHandler, BulkNexthopGroupDel>(*this);
   registerAdapter<UnaryRequestHandler, ProgrammedNexthopGroup>(*this);
}

void NexthopGroupService::on_nexthop_group_active(std::string const& name, bool active) {
   Watch::Response response;
   response.set_name(name);
   response.set_active(active);
   subscriptions_.publishA<WatchHandler>(response);
}

void NexthopGroupService::on_nexthop_group_programmed(std::string const& name, unsigned short version) {
   Watch::Response response;
   response.set_name(name);
   response.set_version(version);
   response.set_programmed(true);
   subscriptions_.publishA<WatchHandler>(response);
}

}  // namespace VelmSdkRpc
