#pragma once

#include <chrono>
#include <memory>

#include "bench/ClientCall.h"
#include "proto/remote/vapi.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// The switch's configuration commands, one list of them to a call, one call at a time.
class CommandLine {
 public:
   using Commands = velm::remote::RunConfigCmdsRequest;

   /// The client stays the caller's.
   CommandLine(Client& client, std::shared_ptr<grpc::Channel> const& channel);

   /// Runs a list and waits for the answer. Throws std::runtime_error if a command fails.
   void run(Commands const& commands);

   /// The same in two parts: finish() once it is answered.
   void begin(Commands const& commands) { call_.begin(commands); }
   bool answered() const { return call_.answered(); }
   std::chrono::steady_clock::time_point answeredAt() const { return call_.answeredAt(); }
   void finish() const;

 private:
   ClientCall<velm::remote::VapiMgrService::Stub, Commands, velm::remote::RunConfigCmdsResponse> call_;
   Client& client_;
};

}  // namespace VelmSdkRpc::Bench
