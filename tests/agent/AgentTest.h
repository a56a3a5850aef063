#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clients/support/AgentProcess.h"
#include "clients/support/SwitchConsole.h"
#include "clients/support/TempFolder.h"
#include "tests/support/AnyCall.h"
#include "tests/support/Eventually.h"

namespace VelmSdkRpc {

/// Addresses in the text form of a message: <10.0.0.1> stands for the bytes of it, and <10.0.0.0/8> for the prefix
/// message of the native service.
std::string withAddresses(std::string const& text);
/// The method of "Service.method", or of the native service; null if there is none.
google::protobuf::MethodDescriptor const* methodOf(std::string const& name);
/// A message in one line; "{}" if nothing is set. Statuses of sessions are "Ethernet1/16=3 Ethernet1/17=1 end", and
/// figures of RTT "Ethernet1/16 rtt 1 2 3 4 5 6 7".
std::string textOf(google::protobuf::Message const& message);

/// The whole agent on its embedded switch, as a process of its own at a Unix socket. A failed test prints what the
/// agent wrote.
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
   SwitchConsole const& console() const { return *console_; }

   /// The answers to "METHOD: REQUEST" as text, with " ; " between them; a failure at last as "error CODE TEXT", and
   /// "open" for a call that still was when the time was over.
   std::string answer(std::string const& call, std::chrono::milliseconds timeout = std::chrono::minutes(1));
   /// A show command's answer.
   rapidjson::Document show(std::string const& command) { return console_->showJson(command); }
   /// Plays the outside world, or configures; must succeed.
   void world(std::vector<std::string> const& commands) { console_->configure(commands); }
   /// The keys that a handler base watches, by `show switch watches`.
   std::vector<std::string> watches(std::string const& handler);

 private:
   std::vector<std::string> const arguments_;
   std::unique_ptr<AgentProcess> agent_;
   std::shared_ptr<grpc::Channel> channel_;
   std::optional<SwitchConsole> console_;
};

/// A base that comes before the agent which is told of the folder.
struct StateFolder {
   TempFolder const top;
   std::string const folder = top.path() + "/state";  // made by the agent
};

}  // namespace VelmSdkRpc
