#include "trials/storm/Lethal.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <memory>
#include <vector>

#include "tests/support/AgentTest.h"
#include "tests/support/AnyMessage.h"
#include "trials/storm/AgentState.h"

namespace VelmSdkRpc::storm {
namespace {

using Stub = pb::velmsdk_service::Stub;
using grpc::ClientContext;

/// An agent that is to die, and how to speak to it.
struct Victim {
   AgentProcess agent;
   Console console;
   std::unique_ptr<Stub> stub;
   AnyMessage any;

   Victim(std::string const& program, std::uint32_t seed)
      : agent({program, {}, {"--trace", "VelmSdkRpc/0"}}),
        console(agent),
        stub(pb::velmsdk_service::NewStub(agent.channel())),
        any(seed) {}

   template <class Request, class Response>
   void call(grpc::Status (Stub::*method)(ClientContext*, Request const&, Response*), Request const& request) {
      ClientContext context;
      context.set_wait_for_ready(true);
      context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(60));
      Response response;
      (stub.get()->*method)(&context, request, &response);
   }
   void init(std::string const& policyMap = "", std::uint32_t tag = 0) {
      pb::rpc_server_config_msg config;
      config.set_ip_route_tag(tag);
      config.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
      call(&Stub::rpc_server_init, config);
   }

   /// A length that no address has, and a value that no enum of the service lists.
   std::string badAddress() {
      auto const size = 1 + any.upTo(40);
      return std::string(size == 4 || size == 16 ? size + 1 : size, 'x');
   }
   int badEnum() {
      return any.oneIn(3) ? -1 - static_cast<int>(any.upTo(1U << 30U)) : 6 + static_cast<int>(any.upTo(1U << 30U));
   }
};

struct Kind {
   char const* name;
   char const* text;  // on stderr
   std::function<void(Victim&)> send;
};

constexpr auto assertion = "assertion failed: false (";

std::vector<Kind> kinds() {
   return {
      {"route: address", assertion,
       [](Victim& victim) {
          pb::ip_route_msg request;
          request.mutable_prefix()->set_addr(victim.badAddress());
          victim.call(&Stub::ip_route, request);
       }},
      {"tunnel: address", assertion,
       [](Victim& victim) {
          pb::nexthop_group_tunnel_msg request;
          request.mutable_prefix()->set_addr(victim.badAddress());
          victim.call(&Stub::nexthop_group_tunnel, request);
       }},
      {"group: address", assertion,
       [](Victim& victim) {
          auto request = groupMsg("g");
          request.mutable_nexthop(0)->mutable_nexthop_ip()->set_addr(victim.badAddress());
          victim.call(&Stub::nexthop_group, request);
       }},
      {"group: type", assertion,
       [](Victim& victim) {
          auto request = groupMsg("g");
          request.set_nexthop_group_type(static_cast<pb::nexthop_group_msg_nexthop_group_type_enum>(victim.badEnum()));
          victim.call(&Stub::nexthop_group, request);
       }},
      {"group: operation", assertion,
       [](Victim& victim) {
          auto request = groupMsg("g");
          request.mutable_nexthop(0)->set_mpls_operation(
             static_cast<pb::nexthop_msg_mpls_operation_enum>(victim.badEnum()));
          victim.call(&Stub::nexthop_group, request);
       }},
      {"label: address", assertion,
       [](Victim& victim) {
          auto request = labelToNexthop(16, 17);
          request.mutable_nexthop()->mutable_nexthop_ip()->set_addr(victim.badAddress());
          victim.call(&Stub::mpls_route, request);
       }},
      {"label: operation", assertion,
       [](Victim& victim) {
          auto request = labelToNexthop(16, 17);
          request.mutable_nexthop()->set_mpls_operation(
             static_cast<pb::nexthop_msg_mpls_operation_enum>(victim.badEnum()));
          victim.call(&Stub::mpls_route, request);
       }},
      {"label: forwarding", assertion,
       [](Victim& victim) {
          auto request = labelToGroup(16, "g");
          request.mutable_forward_nexthop_group()->set_mpls_operation(
             static_cast<pb::mpls_route_msg_forward_nexthop_group_msg_mpls_operation_enum>(victim.badEnum()));
          victim.call(&Stub::mpls_route, request);
       }},
      {"session: address", assertion,
       [](Victim& victim) {
          pb::sbfd_echo_session_msg request;
          request.mutable_session_key()->set_outgoing_interface("Ethernet1");
          request.mutable_session_key()->mutable_nexthop()->set_addr(victim.badAddress());
          victim.call(&Stub::sbfd_echo_session, request);
       }},
      {"resync: state", assertion,
       [](Victim& victim) {
          pb::rpc_server_resync_msg request;
          request.set_resync_state(
             static_cast<pb::rpc_server_resync_state_enum>(std::numeric_limits<std::int32_t>::max()));
          victim.call(&Stub::rpc_server_resync, request);
       }},
      {"init: tag refused", "terminate called after throwing an instance of 'velm::configuration_error'\n",
       [](Victim& victim) {
          victim.console.configure({"simulate fail ip_route_mgr.tag_is configuration_error \"no tags\""});
          victim.init("", 5);
       }},
      {"init: policy map refused", "terminate called after throwing an instance of 'velm::configuration_error'\n",
       [](Victim& victim) {
          victim.console.configure({"simulate fail policy_map_mgr.exists configuration_error \"no maps\""});
          victim.init("p");
       }},
   };
}

std::size_t occurrences(std::string const& text, std::string const& part) {
   std::size_t count = 0;
   for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
   return count;
}

/// Why the agent did not die as it should have; empty if it did.
std::string faultOf(Kind const& kind, Victim& victim) {
   victim.init();
   try {
      kind.send(victim);
   } catch (std::exception const&) {  // the console's last words
   }
   auto const status = victim.agent.waitForEnd();
   if (!status) return "it lives on";
   if (!WIFSIGNALED(*status) || WTERMSIG(*status) != SIGABRT) return fmt::format("it ended with {:#x}", *status);
   auto const words = victim.agent.stderrText();
   auto const ends = occurrences(words, "assertion failed:") + occurrences(words, "terminate called");
   bool const isSo = ends == 1 && occurrences(words, kind.text) == 1 && words.find("Sanitizer") == std::string::npos &&
                     words.find("runtime error") == std::string::npos;
   return isSo ? std::string() : "it wrote: " + words;
}

}  // namespace

bool runLethal(std::string const& program, std::uint32_t seed) {
   bool good = true;
   for (auto const& kind : kinds()) {
      Victim victim(program, seed++);
      auto const fault = faultOf(kind, victim);
      fmt::print("{:<32}{}\n", kind.name, fault.empty() ? "dead" : fault);
      good = good && fault.empty();
   }
   return good;
}

}  // namespace VelmSdkRpc::storm
