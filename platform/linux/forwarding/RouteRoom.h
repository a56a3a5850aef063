#pragma once

#include "platform/linux/grace/GracePeriods.h"
#include "platform/linux/trie/Memory.h"

namespace velm::machine {

/// Room for changes of the lookup, one at a time. Says when little is left and more will be. The SDK lock guards it.
class RouteRoom {
 public:
   RouteRoom(trie::Memory& memory, GracePeriods& periods) : memory_(memory), periods_(periods) {}

   /// False if the table is full.
   bool take() {
      if (memory_.reserve(spare + 1)) {
         memory_.giveBack(spare);
         return true;
      }
      if (auto const period = memory_.pending()) periods_.scarceUntil(*period);
      return memory_.reserve(1);
   }
   /// After the change, or without it.
   void giveBack() { memory_.giveBack(1); }

 private:
   /// What is to be free for one hold of the SDK lock.
   static constexpr std::size_t spare = 8192;

   trie::Memory& memory_;
   GracePeriods& periods_;
};

}  // namespace velm::machine
