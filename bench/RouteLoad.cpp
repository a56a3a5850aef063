#include "bench/RouteLoad.h"

#include <numeric>
#include <vector>

#include "bench/Caller.h"
#include "bench/Routes.h"
#include "bench/Subject.h"

namespace VelmSdkRpc::Bench {

RouteLoad::RouteLoad(Server const& server, std::size_t outstanding)
   : thread_([this, &server, outstanding] {
        try {
           run(server, outstanding);
        } catch (...) {
           failure_ = std::current_exception();
        }
     }) {}

RouteLoad::~RouteLoad() {
   over_ = true;
   if (thread_.joinable()) thread_.join();
}

double RouteLoad::stop() {
   over_ = true;
   thread_.join();
   if (failure_) std::rethrow_exception(failure_);
   return static_cast<double>(routes_) /
          std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
}

void RouteLoad::run(Server const& server, std::size_t outstanding) {
   IpRoutes const routes;
   PlaceList places(20 * bulkSize);
   std::iota(places.begin(), places.end(), Place{0});
   auto requests = inBulk<IpRoutes::method>(routes, &IpRoutes::add, places);
   for (auto& removals : inBulk<IpRoutes::method>(routes, &IpRoutes::removal, places))
      requests.push_back(std::move(removals));
   Caller<IpRoutes::method> caller(server.newChannel(), outstanding);
   for (; !over_; routes_ += 2 * places.size()) caller.call(requests);
}

}  // namespace VelmSdkRpc::Bench
