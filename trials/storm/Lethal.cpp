#include "trials/storm/Lethal.h"

#include <absl/strings/str_replace.h>
#include <fmt/format.h>
#include <sys/wait.h>

#include <csignal>
#include <initializer_list>
#include <random>

#include "clients/support/AgentProcess.h"
#include "clients/support/SwitchConsole.h"
#include "tests/support/AnyCall.h"
#include "velmsdk.pb.h"

namespace VelmSdkRpc::storm {
namespace {

/// A request in whose text ADDRESS stands for one of a length that no address has, and ENUM for a number that no enum
/// of the service lists.
struct Kind {
   char const* name;
   char const* method;
   char const* request;
   char const* fault = nullptr;  // of the switch, set before
};

constexpr std::initializer_list<Kind> kinds{
   {"route: address", "ip_route", "prefix { addr: 'ADDRESS' }"},
   {"tunnel: address", "nexthop_group_tunnel", "prefix { addr: 'ADDRESS' }"},
   {"group: address", "nexthop_group", "name: 'g' nexthop { nexthop_ip { addr: 'ADDRESS' } replicate_count: 1 }"},
   {"group: type", "nexthop_group", "name: 'g' nexthop { replicate_count: 1 } nexthop_group_type: ENUM"},
   {"group: operation", "nexthop_group", "name: 'g' nexthop { mpls_operation: ENUM replicate_count: 1 }"},
   {"label: address", "mpls_route", "label: 16 nexthop { nexthop_ip { addr: 'ADDRESS' } }"},
   {"label: operation", "mpls_route", "label: 16 nexthop { mpls_operation: ENUM labels: 17 }"},
   {"label: forwarding", "mpls_route", "label: 16 forward_nexthop_group { nexthop_group: 'g' mpls_operation: ENUM }"},
   {"session: address", "sbfd_echo_session",
    "session_key { outgoing_interface: 'Ethernet1' nexthop { addr: 'ADDRESS' } }"},
   {"resync: state", "rpc_server_resync", "resync_state: 2147483647"},
   {"init: tag refused", "rpc_server_init", "ip_route_tag: 5", "ip_route_mgr.tag_is"},
   {"init: policy map refused", "rpc_server_init", "cbf_nexthop_group_redirect_policy_map_name: 'p'",
    "policy_map_mgr.exists"}};

std::size_t occurrences(std::string const& text, std::string const& part) {
   std::size_t count = 0;
   for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
   return count;
}

void send(AgentProcess const& agent, char const* method, std::string const& request) {
   auto const* const service = pb::rpc_server_config_msg::descriptor()->file()->service(0);
   anyCall(agent.channel(), *service->FindMethodByName(method), request);
}

/// Why an agent does not die of it as it should; empty if it does.
std::string faultOf(Kind const& kind, std::string const& program, std::mt19937 random) {
   AgentProcess agent({program, {}, {"--trace", "VelmSdkRpc/0"}});
   if (!agent.waitUntilServing()) return "it does not start";
   send(agent, "rpc_server_init", "");
   if (kind.fault != nullptr) {
      SwitchConsole(agent.channel())
         .configure({fmt::format("simulate fail {} configuration_error broken", kind.fault)});
   }
   auto const size = 1 + random() % 40;
   auto const badEnum = static_cast<int>(6 + random() % (1U << 30U));
   send(agent, kind.method,
        absl::StrReplaceAll(kind.request, {{"ADDRESS", std::string(size == 4 || size == 16 ? size + 1 : size, 'x')},
                                           {"ENUM", std::to_string(random() % 3 == 0 ? -badEnum : badEnum)}}));
   auto const status = agent.waitForEnd();
   if (!status) return "it lives on";
   if (!WIFSIGNALED(*status) || WTERMSIG(*status) != SIGABRT) return fmt::format("it ended with {:#x}", *status);
   auto const words = agent.stderrText();
   auto const ends = occurrences(words, "assertion failed:") + occurrences(words, "terminate called");
   auto const* const text = kind.fault == nullptr
                               ? "assertion failed: false ("
                               : "terminate called after throwing an instance of 'velm::configuration_error'\n";
   bool const isSo = ends == 1 && occurrences(words, text) == 1 && words.find("Sanitizer") == std::string::npos &&
                     words.find("runtime error") == std::string::npos;
   return isSo ? std::string() : "it wrote: " + words;
}

}  // namespace

bool runLethal(std::string const& program, std::uint32_t seed) {
   bool good = true;
   for (auto const& kind : kinds) {
      auto const fault = faultOf(kind, program, std::mt19937(seed++));
      fmt::print("{:<32}{}\n", kind.name, fault.empty() ? "dead" : fault);
      good = good && fault.empty();
   }
   return good;
}

}  // namespace VelmSdkRpc::storm
