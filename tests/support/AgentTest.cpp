#include "tests/support/AgentTest.h"

#include <sys/wait.h>

#include <csignal>
#include <thread>

namespace VelmSdkRpc {

bool eventually(std::function<bool()> const& condition, std::chrono::milliseconds timeout) {
   auto const deadline = std::chrono::steady_clock::now() + timeout;
   while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
   }
   return true;
}

AgentTest::AgentTest(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}

void AgentTest::restart() {
   agent_.reset();
   agent_ = std::make_unique<AgentProcess>(AgentProcess::Options{AGENT_PROGRAM, {}, arguments_});
   channel_ = agent_->channel();
   client_ = pb::velmsdk_service::NewStub(channel_);
   console_.emplace(channel_);
   ASSERT_TRUE(channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20)))
      << agent_->stderrText();
}

void AgentTest::TearDown() {
   if (!HasFailure()) return;
   fmt::print(stderr, "the agent wrote:\n{}\n", agent_->stderrText());
   if (agent_->waitForEnd(std::chrono::milliseconds(0))) return;
   for (auto const* command : {"show ip route limit 20", "show mpls route", "show nexthop-group",
                               "show nexthop-group tunnel", "show switch calls"}) {
      fmt::print(stderr, "{}: {}\n", command, runShow(command).raw_response());
   }
}

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

pb::rpc_server_init_status_msg AgentTest::init(std::uint32_t tag, std::string const& policyMap) {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(tag);
   config.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
   return call(&NativeStub::rpc_server_init, config);
}

pb::rpc_status_msg AgentTest::resync(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   return call(&NativeStub::rpc_server_resync, request);
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

Tables AgentTest::table(std::string const& kind) {
   Tables rows;
   for (auto const& [key, text] : tablesOf([this](std::string const& command) { return console_->show(command); })) {
      if (key.starts_with(kind + ' ')) rows[key.substr(kind.size() + 1)] = text;
   }
   return rows;
}

}  // namespace VelmSdkRpc
