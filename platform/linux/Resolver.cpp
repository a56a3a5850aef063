#include "platform/linux/Resolver.h"

#include <chrono>

#include "platform/linux/netlink/NeighbourRequests.h"
#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

constexpr std::chrono::minutes lingering{1};

}  // namespace

// While the link is down there is nothing to resolve; when it comes up its neighbours are wanted anew.
void Resolver::keep(Hops::Key const& neighbour) {
   auto* const ports = view_.ports();
   auto const* const link = ports == nullptr ? nullptr : ports->link(neighbour.first);
   if (link == nullptr || !link->operational) return;
   try {
      netlink::NeighbourRequests(ports->machine()).install(link->ifindex, neighbour.second);
      kept_.insert(neighbour);
   } catch (error const& e) {
      view_.warn(e.msg());
   }
}

// One look for each neighbour, however often a group leads there and away meanwhile: one that is wanted then is left
// alone until it is released again.
void Resolver::release(Hops::Key const& neighbour) {
   if (!released_.insert(neighbour).second) return;
   loop_.postAfter(lingering, [this, neighbour] {
      released_.erase(neighbour);
      if (!view_.wanted(neighbour) && kept_.erase(neighbour) > 0) remove(neighbour);
   });
}

void Resolver::releaseAll() {
   for (auto const& neighbour : kept_) remove(neighbour);
   kept_.clear();
}

void Resolver::remove(Hops::Key const& neighbour) {
   auto* const ports = view_.ports();
   auto const* const link = ports == nullptr ? nullptr : ports->link(neighbour.first);
   if (link == nullptr) return;
   try {
      netlink::NeighbourRequests(ports->machine()).remove(link->ifindex, neighbour.second);
   } catch (error const& e) {
      view_.warn(e.msg());
   }
}

}  // namespace velm::machine
