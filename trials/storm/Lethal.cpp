#include "trials/storm/Lethal.h"

#include <absl/strings/str_replace.h>
#include <fmt/format.h>
#include <sys/wait.h>

#include <csignal>
#include <initializer_list>
#include <random>
#include <string_view>

#include "clients/support/AgentProcess.h"
#include "clients/support/SwitchConsole.h"
#include "tests/support/AnyCall.h"

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

constexpr auto withPolicyMap = "cbf_nexthop_group_redirect_policy_map_name: 'p'";
constexpr auto removal =
   "match_nexthop_group_name: 'a' redirect_nexthop_group_name: 'b' match_ipv4_dscp: 1 request_delete: true";
constexpr auto event = "commands: 'simulate interface Ethernet9 oper down'";

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
   // Nobody can be told of what fails while redirects are found again, or where a bulk ends, or in a task.
   {"restore: policy map", "rpc_server_init", withPolicyMap, "policy_map_mgr.exists"},
   {"restore: its rules", "rpc_server_init", withPolicyMap, "policy_map_mgr.policy_map"},
   {"restore: status", "rpc_server_init", withPolicyMap, "agent_mgr.status"},
   {"restore: name", "rpc_server_init", withPolicyMap, "agent_mgr.status_set"},
   {"restore: class map", "rpc_server_init", withPolicyMap, "class_map_mgr.exists"},
   {"restore: its ACLs", "rpc_server_init", withPolicyMap, "class_map_mgr.class_map"},
   {"restore: ACL", "rpc_server_init", withPolicyMap, "acl_mgr.acl_rule_ip_iter"},
   {"clean up: class map", "rpc_server_init", withPolicyMap, "class_map_mgr.class_map_del"},
   {"clean up: ACL", "rpc_server_init", withPolicyMap, "acl_mgr.acl_exists"},
   {"clean up: its rules", "rpc_server_init", withPolicyMap, "acl_mgr.acl_del"},
   {"clean up: commit", "rpc_server_init", withPolicyMap, "acl_mgr.acl_commit"},
   {"bulk: commit", "cbf_nexthop_group_redirect_bulk", "", "acl_mgr.acl_commit"},
   {"bulk: policy map", "cbf_nexthop_group_redirect_bulk", "", "policy_map_mgr.policy_map_is"},
   {"removal: class map", "cbf_nexthop_group_redirect", removal, "class_map_mgr.class_map_del"},
   {"removal: ACL", "cbf_nexthop_group_redirect", removal, "acl_mgr.acl_del"},
   {"removal: policy map", "cbf_nexthop_group_redirect", removal, "policy_map_mgr.policy_map_is"},
   {"removal: commit", "cbf_nexthop_group_redirect", removal, "acl_mgr.acl_commit"},
   {"event: interface", "VapiMgrService.run_config_cmds", event, "intf_mgr.admin_enabled"},
   {"event: session", "VapiMgrService.run_config_cmds", event, "bfd_session_mgr.sbfd_echo_session_status"}};

std::size_t occurrences(std::string const& text, std::string const& part) {
   std::size_t count = 0;
   for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
   return count;
}

void send(AgentProcess const& agent, std::string const& method, std::string const& request) {
   bool const isNative = method.find('.') == std::string::npos;
   anyCall(agent.channel(), *methodNamed(isNative ? "velmsdk_service." + method : method), request);
}

/// Something of everything, so that each fault is met; among it a rule that is to be cleaned up.
void prepare(AgentProcess const& agent, Kind const& kind) {
   SwitchConsole const console(agent.channel());
   console.configure({"simulate policy-map p feature 1 rule 3 class-map c nexthop-group r nexthop-group s",
                      "simulate class-map c rule 1 acl c type 1",
                      "simulate acl c type 1 rule 1 nexthop-group m priority 1 mask 63"});
   if (std::string_view(kind.method) != "rpc_server_init") {
      send(agent, "rpc_server_init", withPolicyMap);
      send(agent, "cbf_nexthop_group_redirect",
           "match_nexthop_group_name: 'a' redirect_nexthop_group_name: 'b' match_ipv4_dscp: 1");
      send(agent, "sbfd_echo_session",
           "session_key { outgoing_interface: 'Ethernet9' nexthop { addr: '1234' } } track_interface_state: true");
   }
   if (kind.fault != nullptr) {
      console.configure({fmt::format("simulate fail {} configuration_error broken", kind.fault)});
   }
}

/// Why an agent does not die of it as it should; empty if it does.
std::string faultOf(Kind const& kind, std::string const& program, std::mt19937 random) {
   AgentProcess agent({program, {}, {"--trace", "VelmSdkRpc/0"}});
   if (!agent.waitUntilServing()) return "it does not start";
   prepare(agent, kind);
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
