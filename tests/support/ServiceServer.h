#pragma once

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

#include "agent/GrpcServer.h"

namespace VelmSdkRpc {

/// A server of one service, in the test's own process and on a socket of its own, with the thread that runs it.
template <class Service>
class ServiceServer {
 public:
   explicit ServiceServer(std::unique_ptr<Service> service, std::string address = freshAddress())
      : address_(std::move(address)), service_(service.get()), server_(address_, service) {}
   ~ServiceServer() { stopAndJoin(); }

   static std::string freshAddress() {
      static std::atomic<int> next{0};
      return "unix-abstract:velm_service_test_" + std::to_string(getpid()) + "_" + std::to_string(next++);
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

   Service& service() const { return *service_; }
   std::shared_ptr<grpc::Channel> channel() const {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 10);  // the first attempt may come before the bind
      arguments.SetInt(GRPC_ARG_MIN_RECONNECT_BACKOFF_MS, 10);
      return grpc::CreateCustomChannel(address_, grpc::InsecureChannelCredentials(), arguments);
   }

 private:
   std::string const address_;
   Service* const service_;
   GrpcServer server_;
   std::thread thread_;
};

}  // namespace VelmSdkRpc
