#include "tests/support/AgentTest.h"

#include <sys/wait.h>

#include <csignal>
#include <thread>

#include "platform/velm/ip.h"
#include "tests/support/SwitchLines.h"

namespace VelmSdkRpc {

bool eventually(std::function<bool()> const& condition, std::chrono::milliseconds timeout) {
   auto const deadline = std::chrono::steady_clock::now() + timeout;
   while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
   }
   return true;
}

pb::ip_prefix_msg prefixMsg(std::string const& text) {
   velm::ip_prefix_t const prefix(text);
   pb::ip_prefix_msg message;
   message.set_addr(prefix.network().addr(), velm::address_size(prefix.af()));
   message.set_prefix_length(prefix.prefix_length());
   return message;
}

pb::ip_route_msg routeMsg(std::string const& prefix, std::string const& group, std::uint32_t tag) {
   pb::ip_route_msg route;
   *route.mutable_prefix() = prefixMsg(prefix);
   if (!group.empty()) route.set_nexthop_group(group);
   route.set_tag(tag);
   return route;
}

pb::nexthop_group_msg groupMsg(std::string const& name, std::string const& intf, std::uint32_t count) {
   pb::nexthop_group_msg group;
   group.set_name(name);
   auto& nexthop = *group.add_nexthop();
   nexthop.set_nexthop_interface(intf);
   nexthop.set_replicate_count(count);
   return group;
}

pb::nexthop_group_tunnel_msg tunnelMsg(std::string const& prefix, std::string const& group, std::uint32_t metric) {
   pb::nexthop_group_tunnel_msg tunnel;
   *tunnel.mutable_prefix() = prefixMsg(prefix);
   tunnel.set_nexthop_group(group);
   tunnel.set_igp_metric(metric);
   return tunnel;
}

pb::mpls_route_msg labelToNexthop(std::uint32_t label, std::uint32_t swap) {
   pb::mpls_route_msg route;
   route.set_label(label);
   auto& nexthop = *route.mutable_nexthop();
   nexthop.set_nexthop_interface("Ethernet1");
   nexthop.set_mpls_operation(pb::nexthop_msg::MPLS_OP_SWAP);
   nexthop.add_labels(swap);
   return route;
}

pb::mpls_route_msg labelToGroup(std::uint32_t label, std::string const& group) {
   pb::mpls_route_msg route;
   route.set_label(label);
   auto& forward = *route.mutable_forward_nexthop_group();
   forward.set_nexthop_group(group);
   forward.set_mpls_operation(pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_FORWARD);
   return route;
}

pb::mpls_route_msg labelToVrf(std::uint32_t label, std::string const& vrf) {
   pb::mpls_route_msg route;
   route.set_label(label);
   route.set_pop_and_forward_vrf_name(vrf);
   return route;
}

pb::mpls_route_msg labelDeletion(std::uint32_t label) {
   pb::mpls_route_msg route;
   route.set_label(label);
   route.set_request_delete(true);
   return route;
}

AgentTest::AgentTest(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}

void AgentTest::SetUp() { restart(); }

void AgentTest::restart() {
   agent_.reset();
   agent_ = std::make_unique<AgentProcess>(AgentProcess::Options{AGENT_PROGRAM, {}, arguments_});
   channel_ = agent_->channel();
   client_ = pb::velmsdk_service::NewStub(channel_);
   vapi_ = velm::remote::VapiMgrService::NewStub(channel_);
   ASSERT_TRUE(channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20)))
      << agent_->stderrText();
}

void AgentTest::TearDown() {
   if (!HasFailure()) return;
   for (auto const* command : {"show ip route limit 20", "show mpls route", "show nexthop-group",
                               "show nexthop-group tunnel", "show switch calls"}) {
      fmt::print(stderr, "{}: {}\n", command, runShow(command).raw_response());
   }
   fmt::print(stderr, "the agent wrote:\n{}\n", agent_->stderrText());
}

pb::rpc_server_init_status_msg AgentTest::init(std::uint32_t tag) {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(tag);
   return call(&pb::velmsdk_service::Stub::rpc_server_init, config);
}

pb::rpc_status_msg AgentTest::resync(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   return call(&pb::velmsdk_service::Stub::rpc_server_resync, request);
}

pb::rpc_status_msg AgentTest::setRoute(pb::ip_route_msg const& route) {
   return call(&pb::velmsdk_service::Stub::ip_route, route);
}

pb::rpc_status_msg AgentTest::setGroup(pb::nexthop_group_msg const& group) {
   return call(&pb::velmsdk_service::Stub::nexthop_group, group);
}

velm::remote::VapiResponse AgentTest::runShow(std::string const& command) {
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(60));
   velm::remote::RunShowCmdRequest request;
   request.set_command(command);
   velm::remote::RunShowCmdResponse response;
   vapi_->run_show_cmd(&context, request, &response);
   return response.response();
}

velm::remote::VapiResponse AgentTest::runConfig(std::vector<std::string> const& commands) {
   grpc::ClientContext context;
   velm::remote::RunConfigCmdsRequest request;
   *request.mutable_commands() = {commands.begin(), commands.end()};
   velm::remote::RunConfigCmdsResponse response;
   vapi_->run_config_cmds(&context, request, &response);
   return response.response();
}

pb::rpc_status_msg AgentTest::setTunnel(pb::nexthop_group_tunnel_msg const& tunnel) {
   return call(&pb::velmsdk_service::Stub::nexthop_group_tunnel, tunnel);
}

pb::rpc_status_msg AgentTest::setLabel(pb::mpls_route_msg const& label) {
   return call(&pb::velmsdk_service::Stub::mpls_route, label);
}

rapidjson::Document AgentTest::show(std::string const& command) {
   auto const answer = runShow(command);
   EXPECT_TRUE(answer.success()) << command << ": " << answer.error_message();
   rapidjson::Document json;
   json.Parse(answer.responses_size() == 1 ? answer.responses(0).c_str() : "{}");
   EXPECT_FALSE(json.HasParseError()) << command;
   return json;
}

void AgentTest::world(std::vector<std::string> const& commands) {
   auto const answer = runConfig(commands);
   EXPECT_TRUE(answer.success()) << answer.error_message();
}

std::uint64_t AgentTest::switchCalls(std::string const& operation) {
   auto const json = show("show switch calls");
   auto const& calls = json["calls"];
   return calls.HasMember(operation.c_str()) ? calls[operation.c_str()].GetUint64() : 0;
}

std::vector<std::string> AgentTest::watches(std::string const& handler) {
   std::vector<std::string> keys;
   auto const json = show("show switch watches");
   if (json["watches"].HasMember(handler.c_str())) {
      for (auto const& key : json["watches"][handler.c_str()].GetArray()) keys.emplace_back(key.GetString());
   }
   return keys;
}

std::vector<std::string> AgentTest::routes() {
   std::vector<std::string> prefixes;
   auto const json = show("show ip route");
   for (auto const& route : json["routes"].GetArray()) prefixes.emplace_back(route["key"]["prefix"].GetString());
   return prefixes;
}

std::vector<std::string> AgentTest::tunnels() { return tunnelLines(show("show nexthop-group tunnel")); }

std::vector<std::string> AgentTest::labels() { return labelLines(show("show mpls route")); }

int AgentTest::stop(int signal) {
   agent_->signal(signal);
   return waitForEnd();
}

int AgentTest::waitForEnd(std::chrono::milliseconds timeout) {
   auto const status = agent_->waitForEnd(timeout);
   EXPECT_TRUE(status.has_value()) << "the agent has not ended";
   if (!status) return -1000;
   return WIFEXITED(*status) ? WEXITSTATUS(*status) : -WTERMSIG(*status);
}

}  // namespace VelmSdkRpc
