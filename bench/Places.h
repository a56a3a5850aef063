#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace VelmSdkRpc::Bench {

/// A key's place on the line of all keys of its kind.
using Place = std::uint32_t;
using PlaceList = std::vector<Place>;

/// The places from 0 on.
PlaceList firstPlaces(std::size_t count);

/// Which keys a round adds.
enum class Order {
   ascending,  // fresh ones, neighbours, by rising key
   shuffled,   // fresh ones from all over the table
   repeated,   // ones that the table holds, from all over it, as after a client's restart
};
char const* nameOf(Order order);

/// Where a table's keys lie: the fresh ones, which it does not hold, are spread over all of it, one after each held
/// one, or after each run of held ones if the kind has too few keys for that.
class Places {
 public:
   /// A table that holds `held` of the `keys` that there are. Throws std::invalid_argument if these are too few to
   /// leave a fresh one.
   Places(std::size_t held, std::size_t keys);

   std::size_t held() const { return held_; }
   std::size_t fresh() const { return held_ / run_; }

   /// The places of all keys that the table holds, by rising key.
   PlaceList table() const;
   /// `count` places of the order from the `turn`th on; after the last one it begins anew.
   PlaceList of(Order order, std::size_t turn, std::size_t count) const;

 private:
   Place heldPlace(std::size_t index) const { return static_cast<Place>(index + index / run_); }
   Place freshPlace(std::size_t index) const { return static_cast<Place>((run_ + 1) * index + run_); }

   std::size_t held_;
   std::size_t run_;  // held ones before each fresh one
   std::vector<std::uint32_t> shuffledHeld_;
   std::vector<std::uint32_t> shuffledFresh_;
};

}  // namespace VelmSdkRpc::Bench
