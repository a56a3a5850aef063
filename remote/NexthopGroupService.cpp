#include "remote/NexthopGroupService.h"

#include "convert/NexthopGroup.h"
#include "remote/MirrorMethods.h"

// Groups as asked for and groups as programmed are two tables of the manager, with reads for each; setters work on the
// first and events tell of the second. Events are published as they come: a version that a client waits for must not be
// replaced by the next one.
namespace VelmSdkRpc {
namespace {

using AsyncService = NexthopGroupService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {
   // No group has the empty name, so a request that selects nothing gets no event.
   static bool filter(Request const& request, Response const& event) {
      return request.all() || event.name() == request.name();
   }
};
using WatchHandler = WatchOf<Watch, NexthopGroupService>;

struct ResyncInit : ResyncInitOf<&AsyncService::Requestresync_init> {};
struct ResyncComplete : ResyncCompleteOf<&AsyncService::Requestresync_complete> {};

struct NexthopGroups : Method<&AsyncService::Requestnexthop_groups> {
   static auto call(NexthopGroupService& service, Request const&) { return service.mgr().nexthop_group_iter(); }
   static void fill(Response& response, velm::nexthop_group_t const& group) {
      *response.mutable_nexthop_group() = convert(group);
   }
};

struct ProgrammedNexthopGroups : Method<&AsyncService::Requestprogrammed_nexthop_groups> {
   static auto call(NexthopGroupService& service, Request const&) {
      return service.mgr().programmed_nexthop_group_iter();
   }
   static void fill(Response& response, std::string const& name) { response.set_name(name); }
};

struct NexthopGroup : Method<&AsyncService::Requestnexthop_group> {
   static void call(NexthopGroupService& service, Request const& request, Response& response) {
      *response.mutable_nexthop_group() = convert(service.mgr().nexthop_group(request.name()));
   }
};

struct ProgrammedNexthopGroup : Method<&AsyncService::Requestprogrammed_nexthop_group> {
   static void call(NexthopGroupService& service, Request const& request, Response& response) {
      *response.mutable_nexthop_group() = convert(service.mgr().programmed_nexthop_group(request.name()));
   }
};

// The entry is cut to its width, unchecked, as the keys of a group's entries are.
struct Counter : Method<&AsyncService::Requestcounter> {
   static void call(NexthopGroupService& service, Request const& request, Response& response) {
      *response.mutable_counter() =
         convert(service.mgr().counter(request.name(), static_cast<unsigned short>(request.entry())));
   }
};

struct Exists : Method<&AsyncService::Requestexists> {
   static void call(NexthopGroupService& service, Request const& request, Response& response) {
      response.set_exists(service.mgr().exists(request.name()));
   }
};

struct Active : Method<&AsyncService::Requestactive> {
   static void call(NexthopGroupService& service, Request const& request, Response& response) {
      response.set_active(service.mgr().active(request.name()));
   }
};

struct NexthopGroupSet : Method<&AsyncService::Requestnexthop_group_set> {
   static void call(NexthopGroupService& service, Request const& request, Response&) {
      service.mgr().nexthop_group_set(convert(request.nexthop_group()));
   }
};

struct NexthopGroupDel : Method<&AsyncService::Requestnexthop_group_del> {
   static void call(NexthopGroupService& service, Request const& request, Response&) {
      service.mgr().nexthop_group_del(request.name());
   }
};

struct BulkNexthopGroupSet : BulkOf<&AsyncService::Requestbulk_nexthop_group_set, NexthopGroupSet> {};
struct BulkNexthopGroupDel : BulkOf<&AsyncService::Requestbulk_nexthop_group_del, NexthopGroupDel> {};

}  // namespace

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
   Watch::Response event;
   event.set_name(name);
   event.set_active(active);
   subscriptions().publishA<WatchHandler>(event);
}

void NexthopGroupService::on_nexthop_group_programmed(std::string const& name, unsigned short version) {
   Watch::Response event;
   event.set_name(name);
   event.set_version(version);
   event.set_programmed(true);
   subscriptions().publishA<WatchHandler>(event);
}

}  // namespace VelmSdkRpc
