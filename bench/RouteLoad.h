#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <exception>
#include <thread>

#include "bench/Server.h"

namespace VelmSdkRpc::Bench {

/// Another client's load: bulks of a thousand route adds and then of as many deletes, over and over, in a thread and
/// over a connection of its own.
class RouteLoad {
 public:
   /// Begins, with so many calls outstanding. An agent must have a session and the routes' nexthop group.
   RouteLoad(Server const& server, std::size_t outstanding);
   ~RouteLoad();
   RouteLoad(RouteLoad const&) = delete;
   RouteLoad& operator=(RouteLoad const&) = delete;

   /// Ends, behind the calls that it has begun to make. How many routes a second it has programmed; throws what its
   /// calls threw.
   double stop();

 private:
   void run(Server const& server, std::size_t outstanding);

   std::chrono::steady_clock::time_point const begin_ = std::chrono::steady_clock::now();
   std::atomic<bool> over_ = false;
   std::size_t routes_ = 0;        // the thread's, until it has ended
   std::exception_ptr failure_{};  // the same
   std::thread thread_;
};

}  // namespace VelmSdkRpc::Bench
