#include "remote/AgentService.h"

#include <string>

#include "remote/StreamedElements.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/NamedRequestHandler.h"
#include "rpc/StreamingRequestHandler.h"
#include "rpc/Tracing.h"

namespace VelmSdkRpc {
namespace {

using AsyncService = AgentService::AsyncService;
using velm::remote::WatchAgentRequest;
using velm::remote::WatchAgentResponse;

class WatchHandler : public StreamingRequestHandler<WatchHandler, WatchAgentRequest, WatchAgentResponse, AgentService> {
 public:
   using StreamingRequestHandler::StreamingRequestHandler;
   static constexpr auto requestFn() { return &AsyncService::Requestwatch; }
   void subscribe() override { service().subscribe(id()); }
   void cancel() override { service().cancel(id()); }
};

template <class Self, auto post>
class AgentMethod : public NamedRequestHandler<Self, post, AgentService> {
 public:
   using AgentMethod::NamedRequestHandler::NamedRequestHandler;

 protected:
   velm::agent_mgr& mgr() const { return this->service().mgr(); }
};

class AgentIdHandler : public AgentMethod<AgentIdHandler, &AsyncService::Requestagent_id> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response& response) {
         auto const id = velm::agent_mgr::id(request().name().c_str());
         trace(service().tracer(), 9, "Agent {} id {}", request().name(), id);
         response.set_id(id);
      });
   }
};

class EnabledHandler : public AgentMethod<EnabledHandler, &AsyncService::Requestenabled> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response& response) { response.set_enabled(mgr().enabled()); });
   }
};

class AgentOptionHandler : public AgentMethod<AgentOptionHandler, &AsyncService::Requestagent_option> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response& response) { response.set_value(mgr().agent_option(request().name())); });
   }
};

class AgentOptionExistsHandler
   : public AgentMethod<AgentOptionExistsHandler, &AsyncService::Requestagent_option_exists> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response& response) { response.set_exists(mgr().agent_option_exists(request().name())); });
   }
};

class StatusHandler : public AgentMethod<StatusHandler, &AsyncService::Requeststatus> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response& response) { response.set_value(mgr().status(request().name())); });
   }
};

class StatusSetHandler : public AgentMethod<StatusSetHandler, &AsyncService::Requeststatus_set> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response&) { mgr().status_set(request().name(), request().value()); });
   }
};

class BulkStatusSetHandler : public AgentMethod<BulkStatusSetHandler, &AsyncService::Requestbulk_status_set> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      respondBulk([this](auto const& element) { mgr().status_set(element.name(), element.value()); });
   }
};

class StatusDelHandler : public AgentMethod<StatusDelHandler, &AsyncService::Requeststatus_del> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response&) { mgr().status_del(request().name()); });
   }
};

class BulkStatusDelHandler : public AgentMethod<BulkStatusDelHandler, &AsyncService::Requestbulk_status_del> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      respondBulk([this](auto const& element) { mgr().status_del(element.name()); });
   }
};

class UptimeHandler : public AgentMethod<UptimeHandler, &AsyncService::Requestagent_uptime> {
 public:
   using AgentMethod::AgentMethod;
   void process() override {
      answer([this](Response& response) { response.set_uptime(mgr().agent_uptime()); });
   }
};

struct AgentOptionsAdapter : StreamedNames<&AsyncService::Requestagent_options> {
   static auto call(AgentService& service, Request const& /*request*/) { return service.mgr().agent_option_iter(); }
};

struct StatusesAdapter : StreamedNames<&AsyncService::Requeststatuses> {
   static auto call(AgentService& service, Request const& /*request*/) { return service.mgr().status_iter(); }
};

}  // namespace

AgentService::AgentService(velm::agent_mgr* mgr) : GrpcService("agent"), agent_handler(mgr) {}

void AgentService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void AgentService::startHandlers() {
   arm<WatchHandler>(*this);
   arm<AgentIdHandler>(*this);
   arm<EnabledHandler>(*this);
   arm<AgentOptionHandler>(*this);
   arm<AgentOptionExistsHandler>(*this);
   registerAdapter<IteratorStreamingHandler, AgentOptionsAdapter>(*this);
   arm<StatusHandler>(*this);
   registerAdapter<IteratorStreamingHandler, StatusesAdapter>(*this);
   arm<StatusSetHandler>(*this);
   arm<BulkStatusSetHandler>(*this);
   arm<StatusDelHandler>(*this);
   arm<BulkStatusDelHandler>(*this);
   arm<UptimeHandler>(*this);
}

void AgentService::on_agent_option(std::string const& name, std::string const& value) {
   WatchAgentResponse response;
   auto& option = *response.mutable_agent_option();
   option.set_key(name);
   option.set_value(value);
   subscriptions_.publishA<WatchHandler>(response);
}

}  // namespace VelmSdkRpc
