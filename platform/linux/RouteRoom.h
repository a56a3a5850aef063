#pragma once

#include "platform/linux/GraceGate.h"
#include "platform/linux/trie/Memory.h"

namespace velm::machine {

/// Room for changes of the lookup, one at a time. Keeps an eye on how much is left. The SDK lock guards it.
class RouteRoom {
 public:
   RouteRoom(trie::Memory& memory, GraceGate& gate) : memory_(memory), gate_(gate) {}

   /// False if the table is full.
   bool take() {
      if (memory_.reserve(spare + 1)) {
         memory_.giveBack(spare);
         return true;
      }
      if (auto const period = memory_.pending()) gate_.closeUntil(*period);
      return memory_.reserve(1);
   }
   /// After the change, or without it.
   void giveBack() { memory_.giveBack(1); }

 private:
   /// What is to be free for one hold of the SDK lock.
   static constexpr std::size_t spare = 8192;

   trie::Memory& memory_;
   GraceGate& gate_;
};

}  // namespace velm::machine
