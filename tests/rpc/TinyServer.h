#pragma once

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>

#include "agent/GrpcServer.h"
#include "tests/rpc/TinyService.h"

namespace VelmSdkRpc::Test {

/// Whether the condition comes true within ten seconds.
template <class Condition>
bool eventually(Condition condition) {
   auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
   while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
   }
   return true;
}

/// A server of one TinyService on a socket of its own, with the thread that runs it.
class TinyServer {
 public:
   explicit TinyServer(std::unique_ptr<TinyService> service = std::make_unique<TinyService>(),
                       std::string address = freshAddress())
      : address_(std::move(address)), service_(service.get()), server_(address_, service) {}
   ~TinyServer() { stopAndJoin(); }

   static std::string freshAddress() {
      static std::atomic<int> next{0};
      return "unix-abstract:velm_rpc_test_" + std::to_string(getpid()) + "_" + std::to_string(next++);
   }

   void start() {
      thread_ = std::thread([this] { server_.run(); });
   }
   void stop() { server_.stop(); }
   void join() {
      if (thread_.joinable()) thread_.join();
   }
   void stopAndJoin() {
      stop();
      join();
   }

   TinyService& service() { return *service_; }
   std::shared_ptr<grpc::Channel> channel() const {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 10);  // the first attempt may come before the bind
      arguments.SetInt(GRPC_ARG_MIN_RECONNECT_BACKOFF_MS, 10);
      return grpc::CreateCustomChannel(address_, grpc::InsecureChannelCredentials(), arguments);
   }
   std::unique_ptr<tiny::Tiny::Stub> client() const { return tiny::Tiny::NewStub(channel()); }

   /// Every call has been answered and erased, and one handler waits per method.
   bool settles(std::size_t besides = 0) {
      return eventually([&] { return service_->handlerCount() == TinyService::methods + besides; });
   }

 private:
   std::string const address_;
   TinyService* const service_;
   GrpcServer server_;
   std::thread thread_;
};

/// A client's context that waits for the server to come up, with a deadline.
struct CallContext : grpc::ClientContext {
   CallContext() {
      set_wait_for_ready(true);
      set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
   }
};

struct Answer {
   grpc::Status status;
   std::string text;
};

inline Answer echo(tiny::Tiny::Stub& client, std::string const& text = "hello") {
   CallContext context;
   tiny::EchoRequest request;
   request.set_text(text);
   tiny::EchoResponse response;
   auto const status = client.echo(&context, request, &response);
   return {status, response.text()};
}

}  // namespace VelmSdkRpc::Test
