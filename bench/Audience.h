#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>

#include "bench/ClientCall.h"
#include "bench/Delay.h"
#include "bench/Server.h"
#include "bench/Watch.h"

namespace VelmSdkRpc::Bench {

/// Clients that watch the interfaces of a server, and one that changes an interface, on a connection of its own.
class Audience {
 public:
   /// Opens so many watches, spread over the connections. The server stays the caller's.
   Audience(Server& server, std::size_t watchers, std::size_t connections);

   /// Makes a change and waits until it is answered and all have heard of it. Throws std::runtime_error if that fails.
   Delay change();

 private:
   using Clock = std::chrono::steady_clock;
   using Stub = velm::remote::IntfMgrService::Stub;
   using Request = velm::remote::DescriptionIsRequest;

   void hear(IntfWatch::Event const& event);

   Client client_;
   ClientCall<Stub, Request, velm::remote::DescriptionIsResponse> call_;
   Request request_;
   std::size_t changes_ = 0;
   std::size_t heard_ = 0;  // of the present change
   Clock::time_point heardAt_;
   std::deque<IntfWatch> watches_;
};

}  // namespace VelmSdkRpc::Bench
