#include "remote/IntfService.h"

#include <google/protobuf/util/message_differencer.h>

#include "convert/Enums.h"
#include "convert/Values.h"
#include "platform/loom/TaskScheduler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/NamedRequestHandler.h"
#include "rpc/StreamingRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = IntfService::AsyncService;
using types::convert;
using velm::remote::WatchIntfRequest;
using velm::remote::WatchIntfResponse;

class IntfWatchHandler
   : public StreamingRequestHandler<IntfWatchHandler, WatchIntfRequest, WatchIntfResponse, IntfService> {
 public:
   using StreamingRequestHandler::StreamingRequestHandler;
   static constexpr auto requestFn() { return &AsyncService::Requestwatch; }

   // A call that selects nothing stays open, without a subscription.
   void subscribe() override {
      if (wantsAll() || request().has_intf_id()) service().subscriptions().subscribe(id());
   }
   void cancel() override { service().subscriptions().cancel(id()); }
   bool filter(WatchIntfResponse const& response) const override {
      if (wantsAll()) return true;
      auto const& theirs = response.intf_id();
      auto const& ours = request().intf_id();
      // The whole comparison is slow, and most events are of another interface.
      return theirs.name() == ours.name() && google::protobuf::util::MessageDifferencer::Equals(theirs, ours);
   }

 private:
   bool wantsAll() const { return request().has_all() && request().all(); }
};

struct IntfsAdapter : Method<&AsyncService::Requestintfs> {
   static auto call(IntfService& service, Request const& /*request*/) { return service.mgr().intf_iter(); }
   static Response response(velm::intf_id_t const& intf) {
      Response response;
      *response.mutable_intf_id() = convert(intf);
      return response;
   }
};

template <class Self, auto post>
class IntfMethod : public NamedRequestHandler<Self, post, IntfService> {
 public:
   using IntfMethod::NamedRequestHandler::NamedRequestHandler;

 protected:
   velm::intf_mgr& mgr() const { return this->service().mgr(); }
   velm::intf_id_t intf() const { return convert(this->request().intf_id()); }
};

class ExistsHandler : public IntfMethod<ExistsHandler, &AsyncService::Requestexists> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response& response) { response.set_exists(mgr().exists(intf())); });
   }
};

class KernelIntfNameHandler : public IntfMethod<KernelIntfNameHandler, &AsyncService::Requestkernel_intf_name> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response& response) { response.set_kernel_intf_name(mgr().kernel_intf_name(intf())); });
   }
};

class VelmIntfNameHandler : public IntfMethod<VelmIntfNameHandler, &AsyncService::Requestvelm_intf_name> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response& response) {
         *response.mutable_intf_id() = convert(mgr().velm_intf_name(request().kernel_name()));
      });
   }
};

class AdminEnabledHandler : public IntfMethod<AdminEnabledHandler, &AsyncService::Requestadmin_enabled> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response& response) { response.set_enabled(mgr().admin_enabled(intf())); });
   }
};

class AdminEnabledIsHandler : public IntfMethod<AdminEnabledIsHandler, &AsyncService::Requestadmin_enabled_is> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response&) { mgr().admin_enabled_is(intf(), request().enabled()); });
   }
};

class BulkAdminEnabledIsHandler
   : public IntfMethod<BulkAdminEnabledIsHandler, &AsyncService::Requestbulk_admin_enabled_is> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      respondBulk(
         [this](auto const& element) { mgr().admin_enabled_is(convert(element.intf_id()), element.enabled()); });
   }
};

class DescriptionHandler : public IntfMethod<DescriptionHandler, &AsyncService::Requestdescription> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response& response) { response.set_description(mgr().description(intf())); });
   }
};

class DescriptionIsHandler : public IntfMethod<DescriptionIsHandler, &AsyncService::Requestdescription_is> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response&) { mgr().description_is(intf(), request().description()); });
   }
};

// Its successor serves the other bulk method: this one is served once in the server's life. Clients count on it.
class BulkDescriptionIsHandler
   : public IntfMethod<BulkAdminEnabledIsHandler, &AsyncService::Requestbulk_description_is> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      respondBulk(
         [this](auto const& element) { mgr().description_is(convert(element.intf_id()), element.description()); });
   }
};

class OperStatusHandler : public IntfMethod<OperStatusHandler, &AsyncService::Requestoper_status> {
 public:
   using IntfMethod::IntfMethod;
   void process() override {
      answer([this](Response& response) { response.set_oper_status(convert(mgr().oper_status(intf()))); });
   }
};

}  // namespace

IntfService::IntfService(velm::intf_mgr* mgr)
   : GrpcService("intf"),
     intf_handler(mgr),
     backlog_("IntfBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(), IntfEventHandler(*this)) {}

void IntfService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void IntfService::startHandlers() {
   arm<IntfWatchHandler>(*this);
   registerAdapter<IteratorStreamingHandler, IntfsAdapter>(*this);
   arm<ExistsHandler>(*this);
   arm<KernelIntfNameHandler>(*this);
   arm<VelmIntfNameHandler>(*this);
   arm<AdminEnabledHandler>(*this);
   arm<AdminEnabledIsHandler>(*this);
   arm<BulkAdminEnabledIsHandler>(*this);
   arm<DescriptionHandler>(*this);
   arm<DescriptionIsHandler>(*this);
   arm<BulkDescriptionIsHandler>(*this);
   arm<OperStatusHandler>(*this);
}

void IntfService::publish(WatchIntfResponse const& response) { subscriptions_.publishA<IntfWatchHandler>(response); }

template <class Fill>
void IntfService::enter(velm::intf_id_t const& intf, Fill&& fill) {
   WatchIntfResponse response;
   *response.mutable_intf_id() = convert(intf);
   fill(response);
   backlog_.put(intf, std::move(response));
}

void IntfService::on_intf_create(velm::intf_id_t intf) {
   enter(intf, [](auto& response) { response.set_lifecycle(velm::remote::INTF_LIFECYCLE_CREATED); });
}

void IntfService::on_intf_delete(velm::intf_id_t intf) {
   enter(intf, [](auto& response) { response.set_lifecycle(velm::remote::INTF_LIFECYCLE_DELETED); });
}

void IntfService::on_oper_status(velm::intf_id_t intf, velm::oper_status_t status) {
   enter(intf, [&](auto& response) { response.set_oper_status(convert(status)); });
}

void IntfService::on_admin_enabled(velm::intf_id_t intf, bool enabled) {
   enter(intf, [&](auto& response) { response.set_admin_enabled(enabled); });
}

void IntfService::on_intf_description(velm::intf_id_t intf, std::string const& description) {
   enter(intf, [&](auto& response) { response.set_description(description); });
}

}  // namespace VelmSdkRpc
