// A small controller. It keeps two nexthop groups, 2000 routes and two sBFD echo sessions on the switch, and prints how
// the sessions fare. When the agent goes, it waits for the next one and begins again. SIGINT or SIGTERM ends it.
//
//   controller [ADDRESS]        127.0.0.1:9543 unless given
//
// Everything happens inside an "attachment": from the opening of watch_rpc_server_alive to its end. The watch is opened
// first, so that whatever happens to the agent later ends it.
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <syncstream>
#include <thread>

#include "velmsdk.grpc.pb.h"

namespace {

namespace pb = VelmSdkRpc::pb;
using Stub = pb::velmsdk_service::Stub;
using Clock = std::chrono::system_clock;

constexpr unsigned routeTag = 7;      // this controller's routes: a resync leaves those of other tags alone
constexpr unsigned batchSize = 1000;  // elements of a bulk request, far from gRPC's 4 MiB a message

// ---- What is to be on the switch

std::string address(unsigned a, unsigned b, unsigned c, unsigned d) {
   return {static_cast<char>(a), static_cast<char>(b), static_cast<char>(c), static_cast<char>(d)};
}

pb::nexthop_group_msg group(unsigned number) {
   pb::nexthop_group_msg group;
   group.set_name("via-" + std::to_string(number));
   auto& nexthop = *group.add_nexthop();
   nexthop.mutable_nexthop_ip()->set_addr(address(192, 0, 2, number));
   nexthop.set_nexthop_interface("Ethernet" + std::to_string(number));
   nexthop.set_mpls_operation(pb::nexthop_msg::MPLS_OP_PUSH);
   nexthop.add_labels(1000 + number);
   nexthop.set_replicate_count(1);  // 0, the default, would leave the nexthop out
   return group;
}

pb::ip_route_msg route(unsigned number) {
   pb::ip_route_msg route;
   route.mutable_prefix()->set_addr(address(10, number / 256, number % 256, 0));
   route.mutable_prefix()->set_prefix_length(24);
   route.set_nexthop_group("via-" + std::to_string(1 + number % 2));
   route.set_tag(routeTag);
   return route;
}

pb::sbfd_echo_session_msg session(unsigned number) {
   pb::sbfd_echo_session_msg session;
   session.mutable_session_key()->set_outgoing_interface("Ethernet" + std::to_string(number));
   session.mutable_session_key()->mutable_nexthop()->set_addr(address(192, 0, 2, number));
   session.mutable_session_key()->add_labels(1000 + number);
   session.set_track_interface_state(true);
   return session;
}

// ---- Calls

// The agent could not be reached, or was lost on the way: begin again.
struct Lost : std::runtime_error {
   using std::runtime_error::runtime_error;
};

template <class Request, class Response>
using Method = grpc::Status (Stub::*)(grpc::ClientContext*, Request const&, Response*);

template <class Request, class Response>
Response call(Stub& stub, Method<Request, Response> method, Request const& request) {
   grpc::ClientContext context;
   context.set_deadline(Clock::now() + std::chrono::seconds(10));
   Response response;
   auto const status = (stub.*method)(&context, request, &response);
   if (!status.ok()) throw Lost(status.error_message());
   return response;
}

bool succeeded(pb::rpc_status_msg const& status, google::protobuf::Message const& request) {
   if (status.status() == pb::rpc_status_msg::STATUS_SUCCESS) return true;
   auto const& name = pb::rpc_status_msg::rpc_status_value_enum_Name(status.status());
   std::osyncstream(std::cerr) << request.GetTypeName() << " {" << request.ShortDebugString() << "}: " << name << ": "
                               << status.debug_string() << std::endl;
   // The agent that answers is not the one that was initialised.
   if (status.status() == pb::rpc_status_msg::STATUS_NOT_INITIALIZED) throw Lost("the agent has restarted");
   return false;
}

// Sends element(first) to element(last) in batches and reports those that were refused. Gives the number of the others.
template <class Bulk, class Element>
unsigned sendAll(Stub& stub, Method<Bulk, pb::rpc_status_bulk_msg> method, Element* (Bulk::*add)(),
                 Element (*element)(unsigned), unsigned first, unsigned last) {
   unsigned accepted = 0;
   for (unsigned begin = first; begin <= last; begin += batchSize) {
      Bulk bulk;
      for (unsigned i = begin; i <= last && i < begin + batchSize; ++i) *(bulk.*add)() = element(i);
      auto const answer = call(stub, method, bulk);
      for (unsigned i = begin; auto const& status : answer.status()) {
         if (succeeded(status, element(i++))) ++accepted;
      }
   }
   return accepted;
}

void resync(Stub& stub, pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   succeeded(call(stub, &Stub::rpc_server_resync, request), request);
}

void program(Stub& stub) {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(routeTag);
   auto const found = call(stub, &Stub::rpc_server_init, config);
   if (!succeeded(found.status(), config)) throw Lost("not initialised");
   resync(stub, pb::RESYNC_START);
   // Groups go before the routes that name them.
   using Groups = pb::nexthop_group_bulk_msg;
   using Routes = pb::ip_route_bulk_msg;
   using Sessions = pb::sbfd_echo_session_bulk_msg;
   auto const groups = sendAll(stub, &Stub::nexthop_group_bulk, &Groups::add_nexthop_group, group, 1, 2);
   auto const routes = sendAll(stub, &Stub::ip_route_bulk, &Routes::add_ip_route, route, 0, 1999);
   auto const sessions = sendAll(stub, &Stub::sbfd_echo_session_bulk, &Sessions::add_sbfd_echo_session, session, 1, 2);
   resync(stub, pb::RESYNC_END);  // deletes what was not sent again, and tells the status of every session
   std::osyncstream(std::cout) << "programmed " << groups << " groups, " << routes << " routes, " << sessions
                               << " sessions" << (found.ip_routes_exist() ? ", taking over what was there" : "")
                               << std::endl;
}

void print(grpc::ClientReader<pb::watch_sbfd_echo_session_status_msg>& updates) {
   for (pb::watch_sbfd_echo_session_status_msg batch; updates.Read(&batch);) {
      for (auto const& update : batch.bulk()) {
         if (!update.has_status()) continue;  // the end of the batch
         auto const& status = pb::sbfd_echo_session_oper_status_msg::status_enum_Name(update.status().status());
         std::osyncstream(std::cout) << "session over " << update.session_key().outgoing_interface() << ": " << status
                                     << std::endl;
      }
   }
}

// ---- The controller

void attach(std::stop_token const& stop, Stub& stub) {
   grpc::ClientContext aliveContext;
   grpc::ClientContext updatesContext;
   std::stop_callback const onStop(stop, [&] { aliveContext.TryCancel(); });
   auto const alive = stub.watch_rpc_server_alive(&aliveContext, {});
   auto const updates = stub.watch_sbfd_echo_session_status_msgs(&updatesContext, {});
   std::thread printer([&] { print(*updates); });
   try {
      program(stub);
      pb::rpc_server_alive_msg nothing;
      while (alive->Read(&nothing)) continue;  // it never says anything: this waits for the agent's end, or for stop
      std::osyncstream(std::cout) << (stop.stop_requested() ? "stopped" : "the agent has gone") << std::endl;
   } catch (Lost const& lost) {
      std::osyncstream(std::cerr) << "lost: " << lost.what() << std::endl;
   }
   aliveContext.TryCancel();
   updatesContext.TryCancel();
   printer.join();
   updates->Finish();
   alive->Finish();
}

void run(std::stop_token const& stop, std::shared_ptr<grpc::Channel> const& channel) {
   auto const stub = pb::velmsdk_service::NewStub(channel);
   while (!stop.stop_requested()) {
      if (channel->WaitForConnected(Clock::now() + std::chrono::milliseconds(200))) attach(stop, *stub);
   }
}

}  // namespace

int main(int argc, char** argv) {
   sigset_t signals;
   sigemptyset(&signals);
   sigaddset(&signals, SIGINT);
   sigaddset(&signals, SIGTERM);
   pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // before any other thread: sigwait alone takes them

   grpc::ChannelArguments arguments;
   arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 100);
   arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, 2000);  // gRPC would go up to two minutes
   auto const* const address = argc > 1 ? argv[1] : "127.0.0.1:9543";
   auto const channel = grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
   std::jthread const controller(run, channel);  // is stopped and joined at the end
   int signal = 0;
   sigwait(&signals, &signal);
}
