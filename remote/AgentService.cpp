#include "remote/AgentService.h"

#include "remote/MirrorMethods.h"
#include "rpc/Tracing.h"

// The rows of the mirror, a method each in the order of the schema. Options come from the operator and statuses from
// the agent and its clients, so there are setters for statuses alone.
namespace VelmSdkRpc {
namespace {

using AsyncService = AgentService::AsyncService;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {};
using WatchHandler = WatchOf<Watch, AgentService>;

struct AgentIdHandler : Method<&AsyncService::Requestagent_id> {
   static void call(AgentService& service, Request const& request, Response& response) {
      auto const id = velm::agent_mgr::id(request.name().c_str());
      trace(service.tracer(), 9, "Agent {} id {}", request.name(), id);
      response.set_id(id);
   }
};

struct EnabledHandler : Method<&AsyncService::Requestenabled> {
   static void call(AgentService& service, Request const&, Response& response) {
      response.set_enabled(service.mgr().enabled());
   }
};

struct AgentOptionHandler : Method<&AsyncService::Requestagent_option> {
   static void call(AgentService& service, Request const& request, Response& response) {
      response.set_value(service.mgr().agent_option(request.name()));
   }
};

struct AgentOptionExistsHandler : Method<&AsyncService::Requestagent_option_exists> {
   static void call(AgentService& service, Request const& request, Response& response) {
      response.set_exists(service.mgr().agent_option_exists(request.name()));
   }
};

struct AgentOptionsAdapter : Method<&AsyncService::Requestagent_options> {
   static auto call(AgentService& service, Request const&) { return service.mgr().agent_option_iter(); }
   static void fill(Response& response, std::string const& name) { response.set_name(name); }
};

struct StatusHandler : Method<&AsyncService::Requeststatus> {
   static void call(AgentService& service, Request const& request, Response& response) {
      response.set_value(service.mgr().status(request.name()));
   }
};

struct StatusesAdapter : Method<&AsyncService::Requeststatuses> {
   static auto call(AgentService& service, Request const&) { return service.mgr().status_iter(); }
   static void fill(Response& response, std::string const& name) { response.set_name(name); }
};

struct StatusSetHandler : Method<&AsyncService::Requeststatus_set> {
   static void call(AgentService& service, Request const& request, Response&) {
      service.mgr().status_set(request.name(), request.value());
   }
};

struct StatusDelHandler : Method<&AsyncService::Requeststatus_del> {
   static void call(AgentService& service, Request const& request, Response&) {
      service.mgr().status_del(request.name());
   }
};

struct BulkStatusSetHandler : BulkOf<&AsyncService::Requestbulk_status_set, StatusSetHandler> {};
struct BulkStatusDelHandler : BulkOf<&AsyncService::Requestbulk_status_del, StatusDelHandler> {};

struct UptimeHandler : Method<&AsyncService::Requestagent_uptime> {
   static void call(AgentService& service, Request const&, Response& response) {
      response.set_uptime(service.mgr().agent_uptime());
   }
};

}  // namespace

void AgentService::startHandlers() {
   registerAdapter<StreamingRequestHandler, Watch>(*this);
   registerAdapter<UnaryRequestHandler, AgentIdHandler>(*this);
   registerAdapter<UnaryRequestHandler, EnabledHandler>(*this);
   registerAdapter<UnaryRequestHandler, AgentOptionHandler>(*this);
   registerAdapter<UnaryRequestHandler, AgentOptionExistsHandler>(*this);
   registerAdapter<IteratorStreamingHandler, AgentOptionsAdapter>(*this);
   registerAdapter<UnaryRequestHandler, StatusHandler>(*this);
   registerAdapter<IteratorStreamingHandler, StatusesAdapter>(*this);
   registerAdapter<UnaryRequestHandler, StatusSetHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkStatusSetHandler>(*this);
   registerAdapter<UnaryRequestHandler, StatusDelHandler>(*this);
   registerAdapter<BulkRequestHandler, BulkStatusDelHandler>(*this);
   registerAdapter<UnaryRequestHandler, UptimeHandler>(*this);
}

// The manager tells its handlers of options whether they watch or not; without a subscriber the event goes nowhere.
void AgentService::on_agent_option(std::string const& name, std::string const& value) {
   Watch::Response event;
   event.mutable_agent_option()->set_key(name);
   event.mutable_agent_option()->set_value(value);
   subscriptions().publishA<WatchHandler>(event);
}

}  // namespace VelmSdkRpc
