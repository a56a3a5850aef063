#pragma once

#include <absl/container/btree_set.h>

#include <functional>
#include <string>

#include "platform/linux/Ports.h"
#include "platform/linux/forwarding/Hops.h"
#include "platform/switch/MainLoop.h"

namespace velm::machine {

/// Has the kernel resolve the neighbours that hops want, and keep them so. It lets go of one late: a group that leads
/// away from a neighbour often leads back to it soon, and must not have to wait for an answer then. The SDK lock guards
/// it.
class Resolver {
 public:
   /// The machine's ports once they are followed, null before; whether a neighbour is wanted now; where to complain.
   struct View {
      std::function<Ports*()> ports;
      std::function<bool(Hops::Key const&)> wanted;
      std::function<void(std::string const&)> warn;
   };

   Resolver(embedded::MainLoop& loop, View view) : loop_(loop), view_(std::move(view)) {}
   Resolver(Resolver const&) = delete;
   Resolver& operator=(Resolver const&) = delete;

   /// The neighbour is wanted, or its link has come up.
   void keep(Hops::Key const& neighbour);
   /// Nobody wants it any more.
   void release(Hops::Key const& neighbour);
   /// The kernel has deleted it.
   void forgotten(Hops::Key const& neighbour) {
      if (view_.wanted(neighbour)) keep(neighbour);
   }
   /// At the end: the kernel is not to go on asking for neighbours that nobody needs.
   void releaseAll();

 private:
   void remove(Hops::Key const& neighbour);

   embedded::MainLoop& loop_;
   View const view_;
   absl::btree_set<Hops::Key> kept_;
   absl::btree_set<Hops::Key> released_;  // those that will be looked at when their time is over
};

}  // namespace velm::machine
