#include "remote/IntfService.h"

#include <google/protobuf/util/message_differencer.h>

#include <memory>

#include "convert/Enums.h"
#include "remote/MirrorMethods.h"

// One backlog for all kinds of events, by interface: of a burst a client gets one message for each interface, and reads
// the rest of its state by the other methods.
namespace VelmSdkRpc {
namespace {

using AsyncService = IntfService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {
   // A call that selects nothing stays open, without a subscription.
   static void subscribe(IntfService& service, Request const& request, void* id) {
      if (request.all() || request.has_intf_id()) service.subscriptions().subscribe(id);
   }
   static bool filter(Request const& request, Response const& event) {
      if (request.all()) return true;
      auto const& theirs = event.intf_id();
      auto const& ours = request.intf_id();
      // The whole comparison is slow, and most events are of another interface.
      return theirs.name() == ours.name() && google::protobuf::util::MessageDifferencer::Equals(theirs, ours);
   }
};
using IntfWatchHandler = WatchOf<Watch, IntfService>;

struct IntfsAdapter : Method<&AsyncService::Requestintfs> {
   static auto call(IntfService& service, Request const&) { return service.mgr().intf_iter(); }
   static void fill(Response& response, velm::intf_id_t const& intf) { *response.mutable_intf_id() = convert(intf); }
};

struct ExistsHandler : Method<&AsyncService::Requestexists> {
   static void call(IntfService& service, Request const& request, Response& response) {
      response.set_exists(service.mgr().exists(convert(request.intf_id())));
   }
};

struct KernelIntfNameHandler : Method<&AsyncService::Requestkernel_intf_name> {
   static void call(IntfService& service, Request const& request, Response& response) {
      response.set_kernel_intf_name(service.mgr().kernel_intf_name(convert(request.intf_id())));
   }
};

struct VelmIntfNameHandler : Method<&AsyncService::Requestvelm_intf_name> {
   static void call(IntfService& service, Request const& request, Response& response) {
      *response.mutable_intf_id() = convert(service.mgr().velm_intf_name(request.kernel_name()));
   }
};

struct AdminEnabledHandler : Method<&AsyncService::Requestadmin_enabled> {
   static void call(IntfService& service, Request const& request, Response& response) {
      response.set_enabled(service.mgr().admin_enabled(convert(request.intf_id())));
   }
};

struct AdminEnabledIsHandler : Method<&AsyncService::Requestadmin_enabled_is> {
   static void call(IntfService& service, Request const& request, Response&) {
      service.mgr().admin_enabled_is(convert(request.intf_id()), request.enabled());
   }
};

struct DescriptionHandler : Method<&AsyncService::Requestdescription> {
   static void call(IntfService& service, Request const& request, Response& response) {
      response.set_description(service.mgr().description(convert(request.intf_id())));
   }
};

struct DescriptionIsHandler : Method<&AsyncService::Requestdescription_is> {
   static void call(IntfService& service, Request const& request, Response&) {
      service.mgr().description_is(convert(request.intf_id()), request.description());
   }
};

struct OperStatusHandler : Method<&AsyncService::Requestoper_status> {
   static void call(IntfService& service, Request const& request, Response& response) {
      response.set_oper_status(convert(service.mgr().oper_status(convert(request.intf_id()))));
   }
};

struct BulkAdminEnabledIs : BulkOf<&AsyncService::Requestbulk_admin_enabled_is, AdminEnabledIsHandler> {};
struct BulkDescriptionIs : BulkOf<&AsyncService::Requestbulk_description_is, DescriptionIsHandler> {};

template <class Adapter>
using Bulk = BulkRequestHandler<Adapter, typename Adapter::Request, typename Adapter::Response, IntfService>;
using BulkAdminEnabledIsHandler = Bulk<BulkAdminEnabledIs>;

// Its successor serves the other bulk method: this one is served once in the server's life. Clients count on it.
class BulkDescriptionIsHandler : public Bulk<BulkDescriptionIs> {
 public:
   using Bulk<BulkDescriptionIs>::Bulk;
   std::unique_ptr<RequestHandler> chain(void* id) override { return armed<BulkAdminEnabledIsHandler>(id, service()); }
};

}  // namespace

void IntfService::startHandlers() {
   registerAdapter<StreamingRequestHandler, Watch>(*this);
   registerAdapter<IteratorStreamingHandler, IntfsAdapter>(*this);
   registerAdapter<UnaryRequestHandler, ExistsHandler>(*this);
   registerAdapter<UnaryRequestHandler, KernelIntfNameHandler>(*this);
   registerAdapter<UnaryRequestHandler, VelmIntfNameHandler>(*this);
   registerAdapter<UnaryRequestHandler, AdminEnabledHandler>(*this);
   registerAdapter<UnaryRequestHandler, AdminEnabledIsHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkAdminEnabledIs>(*this);
   registerAdapter<UnaryRequestHandler, DescriptionHandler>(*this);
   registerAdapter<UnaryRequestHandler, DescriptionIsHandler>(*this);
   arm<BulkDescriptionIsHandler>(*this);
   registerAdapter<UnaryRequestHandler, OperStatusHandler>(*this);
}

void IntfService::publish(Event const& event) { subscriptions().publishA<IntfWatchHandler>(event); }

template <class Fill>
void IntfService::enter(velm::intf_id_t const& intf, Fill&& fill) {
   Event event;
   *event.mutable_intf_id() = convert(intf);
   fill(event);
   backlog_.put(intf, std::move(event));
}

void IntfService::on_intf_create(velm::intf_id_t intf) {
   enter(intf, [](Event& event) { event.set_lifecycle(velm::remote::INTF_LIFECYCLE_CREATED); });
}

void IntfService::on_intf_delete(velm::intf_id_t intf) {
   enter(intf, [](Event& event) { event.set_lifecycle(velm::remote::INTF_LIFECYCLE_DELETED); });
}

void IntfService::on_oper_status(velm::intf_id_t intf, velm::oper_status_t status) {
   enter(intf, [&](Event& event) { event.set_oper_status(convert(status)); });
}

void IntfService::on_admin_enabled(velm::intf_id_t intf, bool enabled) {
   enter(intf, [&](Event& event) { event.set_admin_enabled(enabled); });
}

void IntfService::on_intf_description(velm::intf_id_t intf, std::string const& description) {
   enter(intf, [&](Event& event) { event.set_description(description); });
}

}  // namespace VelmSdkRpc
