#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "clients/support/AgentProcess.h"
#include "clients/support/TempFolder.h"
#include "proto/remote/vapi.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc {

/// Waits for a condition, checking it again and again; false once the time is over.
bool eventually(std::function<bool()> const& condition, std::chrono::milliseconds timeout = std::chrono::seconds(10));

pb::ip_prefix_msg prefixMsg(std::string const& text);
pb::ip_route_msg routeMsg(std::string const& prefix, std::string const& group, std::uint32_t tag = 0);
/// A group with one nexthop of the interface, `count` entries wide.
pb::nexthop_group_msg groupMsg(std::string const& name, std::string const& intf = "Ethernet1", std::uint32_t count = 1);

pb::nexthop_group_tunnel_msg tunnelMsg(std::string const& prefix, std::string const& group, std::uint32_t metric = 0);
/// A label that is swapped for another one, one that is forwarded to a group, one that is looked up in a VRF, and the
/// deletion of one.
pb::mpls_route_msg labelToNexthop(std::uint32_t label, std::uint32_t swap);
pb::mpls_route_msg labelToGroup(std::uint32_t label, std::string const& group);
pb::mpls_route_msg labelToVrf(std::uint32_t label, std::string const& vrf);
pb::mpls_route_msg labelDeletion(std::uint32_t label);

/// The whole agent on its embedded switch, as a process of its own behind a Unix socket. A failed test prints what the
/// agent wrote and the switch's tables.
class AgentTest : public ::testing::Test {
 protected:
   explicit AgentTest(std::vector<std::string> arguments = {"--trace", "VelmSdkRpc/0"});
   void SetUp() override;
   void TearDown() override;

   /// A new agent with the same arguments, and channels to it; the one before is killed if it still runs.
   void restart();

   AgentProcess& agent() { return *agent_; }
   std::shared_ptr<grpc::Channel> const& channel() const { return channel_; }
   pb::velmsdk_service::Stub& client() { return *client_; }

   /// Calls a method of the native service, which must end with OK, and gives its answer.
   template <class Request, class Response>
   Response call(grpc::Status (pb::velmsdk_service::Stub::*method)(grpc::ClientContext*, Request const&, Response*),
                 Request const& request) {
      grpc::ClientContext context;
      context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(60));
      Response response;
      auto const status = (client_.get()->*method)(&context, request, &response);
      EXPECT_TRUE(status.ok()) << status.error_code() << ' ' << status.error_message();
      return response;
   }
   pb::rpc_server_init_status_msg init(std::uint32_t tag = 0);
   pb::rpc_status_msg resync(pb::rpc_server_resync_state_enum state);
   pb::rpc_status_msg setRoute(pb::ip_route_msg const& route);
   pb::rpc_status_msg setGroup(pb::nexthop_group_msg const& group);
   pb::rpc_status_msg setTunnel(pb::nexthop_group_tunnel_msg const& tunnel);
   pb::rpc_status_msg setLabel(pb::mpls_route_msg const& label);

   /// A show command's answer, as JSON.
   rapidjson::Document show(std::string const& command);
   /// The answer of a command, whatever it is.
   velm::remote::VapiResponse runShow(std::string const& command);
   velm::remote::VapiResponse runConfig(std::vector<std::string> const& commands);
   /// Plays the outside world, or configures; must succeed.
   void world(std::vector<std::string> const& commands);
   /// The keys that a handler base watches, by `show switch watches`.
   std::vector<std::string> watches(std::string const& handler);
   std::uint64_t switchCalls(std::string const& operation);
   std::vector<std::string> routes();
   /// As SwitchLines.h tells them.
   std::vector<std::string> tunnels();
   std::vector<std::string> labels();

   /// Ends the agent and gives its exit status, negative for the signal that ended it.
   int stop(int signal);
   int waitForEnd(std::chrono::milliseconds timeout = std::chrono::seconds(20));

 private:
   std::vector<std::string> const arguments_;
   std::unique_ptr<AgentProcess> agent_;
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<pb::velmsdk_service::Stub> client_;
   std::unique_ptr<velm::remote::VapiMgrService::Stub> vapi_;
};

/// Stands before the agent that is told of it.
struct StateFolder {
   TempFolder const top;
   std::string const folder = top.path() + "/state";  // made by the agent
};

/// An agent whose switch is over a restart what it was before.
class StatefulAgentTest : protected StateFolder, public AgentTest {
 protected:
   explicit StatefulAgentTest(std::string const& trace = "VelmSdkRpc/0")
      : AgentTest({"--trace", trace, "--switch-state", folder}) {}
};

MATCHER_P2(Status, status, text, fmt::format("status {} with \"{}\"", static_cast<int>(status), text)) {
   return arg.status() == status && arg.debug_string() == text;
}
MATCHER(Succeeded, "") { return arg.status() == pb::rpc_status_msg::STATUS_SUCCESS && arg.debug_string().empty(); }

}  // namespace VelmSdkRpc
