#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/Rounds.h"
#include "clients/support/AgentProcess.h"

namespace VelmSdkRpc::Bench {

/// A server under measurement, the agent or the floor: a process of its own on a Unix socket of its own.
class Server {
 public:
   /// Starts it and waits until it serves. Throws std::runtime_error if it does not.
   explicit Server(std::string const& program, std::vector<std::string> arguments = {});

   std::string const& address() const { return process_.address(); }
   std::shared_ptr<grpc::Channel> const& channel() const { return channel_; }
   /// A channel of another connection, for another client.
   std::shared_ptr<grpc::Channel> newChannel() const { return process_.channel(); }

   /// Has it end in order. Throws std::runtime_error if it does not.
   void stop();

   /// Processor time of all its threads so far, and memory that it has resident.
   double cpuSeconds() const;
   double residentBytes() const;

 private:
   AgentProcess process_;
   std::shared_ptr<grpc::Channel> channel_;
};

/// Makes the calls of one server's work.
Sample timed(Server const& server, std::function<void()> const& calls);

/// The agent's arguments for trace level 0 alone, without which it traces levels 0 and 1; and for a switch with its
/// state in the folder.
std::vector<std::string> quietly();
std::vector<std::string> quietlyIn(std::string const& folder);

}  // namespace VelmSdkRpc::Bench
