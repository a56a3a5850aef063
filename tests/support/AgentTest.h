#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clients/support/AgentProcess.h"
#include "clients/support/SwitchConsole.h"
#include "clients/support/TempFolder.h"
#include "tests/support/Native.h"
#include "tests/support/NativeMessages.h"
#include "tests/support/SwitchTables.h"

namespace VelmSdkRpc {

/// Waits for a condition, checking it again and again; false once the time is over.
bool eventually(std::function<bool()> const& condition, std::chrono::milliseconds timeout = std::chrono::seconds(10));

/// The whole agent on its embedded switch, as a process of its own at a Unix socket. A failed test prints what the
/// agent wrote and the switch's tables.
class AgentTest : public ::testing::Test {
 protected:
   explicit AgentTest(std::vector<std::string> arguments = {"--trace", "VelmSdkRpc/0"});
   void SetUp() override { restart(); }
   void TearDown() override;

   /// A new agent with the same arguments, and channels to it; the one before is killed if it still runs.
   void restart();
   /// Ends the agent and gives its exit status, negative for the signal that ended it.
   int stop(int signal);
   int waitForEnd(std::chrono::milliseconds timeout = std::chrono::seconds(20));

   AgentProcess& agent() { return *agent_; }
   std::shared_ptr<grpc::Channel> const& channel() const { return channel_; }
   pb::velmsdk_service::Stub& client() { return *client_; }
   bool hasWritten(std::string const& text) {
      return eventually([&] { return agent().stderrText().find(text) != std::string::npos; });
   }

   /// Calls a method of the native service, which must end with OK, and gives its answer.
   template <class Request, class Response>
   Response call(grpc::Status (NativeStub::*method)(grpc::ClientContext*, Request const&, Response*),
                 Request const& request) {
      grpc::ClientContext context;
      context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(60));
      Response response;
      auto const status = (client_.get()->*method)(&context, request, &response);
      EXPECT_TRUE(status.ok()) << status.error_code() << ' ' << status.error_message();
      return response;
   }
   pb::rpc_server_init_status_msg init(std::uint32_t tag = 0, std::string const& policyMap = {});
   pb::rpc_status_msg resync(pb::rpc_server_resync_state_enum state);
   /// Programs one element of any kind, or several in bulk.
   template <class Request>
   pb::rpc_status_msg set(Request const& request) {
      return call(NativeKind<Request>::one, request);
   }
   template <class Request>
   pb::rpc_status_bulk_msg setAll(std::vector<Request> const& requests) {
      using Kind = NativeKind<Request>;
      return call(Kind::bulk, bulkOf<Request>(Batch(requests.begin(), requests.end()), Kind::add));
   }

   /// A show command's answer.
   rapidjson::Document show(std::string const& command) { return console_->showJson(command); }
   /// Answers of commands, whatever they are.
   velm::remote::VapiResponse runShow(std::string const& command) { return console_->runShow(command); }
   velm::remote::VapiResponse runConfig(std::vector<std::string> const& commands) {
      return console_->runConfig(commands);
   }
   /// Plays the outside world, or configures; must succeed.
   void world(std::vector<std::string> const& commands) { console_->configure(commands); }
   /// Has the operation's next call fail with velm::error("broken").
   void failNext(std::string const& operation) { world({"simulate fail " + operation + " error broken"}); }
   std::uint64_t switchCalls(std::string const& operation) { return console_->callsOf(operation); }
   /// The keys that a handler base watches, by `show switch watches`.
   std::vector<std::string> watches(std::string const& handler);
   /// The prefixes of all routes, in the switch's order.
   std::vector<std::string> routes();
   /// The rows of one kind of SwitchTables.h, by what follows the kind in their keys.
   Tables table(std::string const& kind);

 private:
   std::vector<std::string> const arguments_;
   std::unique_ptr<AgentProcess> agent_;
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<pb::velmsdk_service::Stub> client_;
   std::optional<SwitchConsole> console_;
};

/// A base that comes before the agent which is told of the folder.
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
