#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "clients/support/AsyncClient.h"
#include "clients/velmctl/Catalogue.h"
#include "clients/velmctl/Interrupt.h"

namespace VelmSdkRpc::ctl {

using Timeout = std::optional<std::chrono::milliseconds>;

/// An empty message of the type.
std::unique_ptr<google::protobuf::Message> newMessage(Descriptor const& type);

/// The agent, as one connection to it. Calls are made one after the other, on one thread.
class Connection {
 public:
   /// "host:port" or "unix:path". Does not connect yet. Throws UsageError for an address that is none.
   Connection(std::string const& address, Interrupt& interrupt);

   /// Calls any method, and gives each message of the answer: one of a unary method. While `onMessage` returns true the
   /// call goes on. Throws CallError if it ends with another status than OK, Interrupted if it was interrupted.
   void call(MethodDescriptor const& method, google::protobuf::Message const& request, Timeout timeout,
             std::function<bool(google::protobuf::Message const&)> const& onMessage);

   /// Calls a unary method again and again, `outstanding` calls at a time, with the requests that `next` gives: until
   /// it gives none, or a reply is not OK, or the interrupt is raised; then waits for the calls under way. `onReply`
   /// gets the replies as they come, on this thread.
   void callMany(MethodDescriptor const& method, std::size_t outstanding, Timeout timeout,
                 std::function<std::optional<grpc::ByteBuffer>()> const& next,
                 std::function<void(AsyncCalls::Reply&)> const& onReply);

   /// Waits, without an end, until the agent accepts connections. Throws Interrupted.
   void awaitAgent();

 private:
   Interrupt& interrupt_;
   std::shared_ptr<grpc::Channel> channel_;
};

}  // namespace VelmSdkRpc::ctl
