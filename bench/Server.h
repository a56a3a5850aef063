#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "clients/support/AgentProcess.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// A server under measurement, the agent or the floor: a process of its own on a Unix socket of its own.
class Server {
 public:
   /// Starts it and waits until it serves. Throws std::runtime_error if it does not.
   Server(std::string name, std::string const& program, std::vector<std::string> arguments = {});

   std::string const& name() const { return name_; }
   std::string const& address() const { return process_.address(); }
   std::shared_ptr<grpc::Channel> const& channel() const { return channel_; }
   pb::velmsdk_service::Stub& stub() { return *stub_; }
   /// A channel of another connection, for another client.
   std::shared_ptr<grpc::Channel> newChannel() const { return process_.channel(); }
   /// The same, for one that does not read: this side takes no more of a stream than it must.
   std::shared_ptr<grpc::Channel> newNarrowChannel() const;

   /// Has it end in order. Throws std::runtime_error if it does not.
   void stop();

   /// Processor time of all its threads so far.
   double cpuSeconds() const;
   /// Memory that it has resident.
   double residentBytes() const;

 private:
   std::string const name_;
   AgentProcess process_;
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<pb::velmsdk_service::Stub> stub_;
};

/// The agent's arguments for trace level 0 alone; without them it traces levels 0 and 1.
std::vector<std::string> quietly();
/// The same, with the folder of the switch's state.
std::vector<std::string> quietlyIn(std::string const& folder);

}  // namespace VelmSdkRpc::Bench
