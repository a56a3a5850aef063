#include "bench/Places.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <stdexcept>

// Where fresh keys (f) lie among those that a table holds (h), by rising key:
//
//    as many keys left as held     h f h f h f h f
//    a third as many               h h h f h h h f
//
// So every add goes into the middle of the table, as a client's would, and never to its end, which some maps are quick
// at. Orders are shuffled with a fixed seed: two builds are asked for the same keys.
namespace VelmSdkRpc::Bench {
namespace {

// How many held ones lie before each fresh one: as few as the keys allow.
std::size_t runOf(std::size_t held, std::size_t keys) {
   auto const left = keys > held ? keys - held : 0;
   auto const run = left == 0 ? held + 1 : (held + left - 1) / left;
   if (held == 0 || run > held) {
      throw std::invalid_argument(fmt::format("a table of {} leaves none of {} keys fresh", held, keys));
   }
   return run;
}

// The numbers below `count` in an order that is the same in every run.
std::vector<std::uint32_t> shuffledIndexes(std::size_t count) {
   std::vector<std::uint32_t> indexes(count);
   std::iota(indexes.begin(), indexes.end(), 0U);
   std::shuffle(indexes.begin(), indexes.end(), std::mt19937(1));
   return indexes;
}

}  // namespace

PlaceList firstPlaces(std::size_t count) {
   PlaceList places(count);
   std::iota(places.begin(), places.end(), Place{0});
   return places;
}

char const* nameOf(Order order) {
   switch (order) {
      case Order::ascending: return "ascending";
      case Order::shuffled: return "shuffled";
      case Order::repeated: return "repeated";
   }
   return "?";
}

Places::Places(std::size_t held, std::size_t keys)
   : held_(held),
     run_(runOf(held, keys)),
     shuffledHeld_(shuffledIndexes(held)),
     shuffledFresh_(shuffledIndexes(fresh())) {}

PlaceList Places::table() const {
   PlaceList places;
   places.reserve(held_);
   for (std::size_t i = 0; i < held_; ++i) places.push_back(heldPlace(i));
   return places;
}

PlaceList Places::of(Order order, std::size_t turn, std::size_t count) const {
   PlaceList places;
   places.reserve(count);
   for (auto i = turn; i < turn + count; ++i) {
      switch (order) {
         case Order::ascending: places.push_back(freshPlace(i % fresh())); break;
         case Order::shuffled: places.push_back(freshPlace(shuffledFresh_[i % fresh()])); break;
         case Order::repeated: places.push_back(heldPlace(shuffledHeld_[i % held_])); break;
      }
   }
   return places;
}

}  // namespace VelmSdkRpc::Bench
