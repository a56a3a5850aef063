// The hash map whose walks survive any change against std::unordered_map and a list in the order of the walk.
#include <algorithm>
#include <set>
#include <unordered_map>
#include <vector>

#include "platform/qor/HashMap2018.h"
#include "platform/qor/HashMap2018Iterator.h"
#include "trials/fuzz/Choices.h"

namespace VelmSdkRpc::fuzz {
namespace {

// Few hashes, so that keys share them.
struct Key {
   std::uint32_t number = 0;
   std::uint32_t hash() const { return number / 4; }
   bool operator==(Key const&) const = default;
};
using Map = Qor::HashMap2018<Qor::HashMap2018Node<Key, int>>;

/// A walk that goes on through all changes, and who must be met by it.
struct Walk {
   Qor::HashMap2018IteratorGeneric<Map> it;
   std::set<std::uint32_t> stood;  // members since it began
   std::set<std::uint32_t> met;    // of these
};

class Twins {
 public:
   void step(Choices& choices) {
      Key const key{choices.upTo(32)};
      switch (choices.upTo(8)) {
         case 0:
         case 1: return insert(key, static_cast<int>(++steps_));
         case 2: return erase(key);
         case 3: return eraseRange(choices, key);
         case 4: return begin();
         case 5: return look(key);
         default:
            if (!walks_.empty()) advance(choices.upTo(static_cast<std::uint32_t>(walks_.size())));
      }
   }
   void compare() {
      expect(map_.members() == order_.size(), "{} members, not {}", map_.members(), order_.size());
      auto expected = order_.begin();
      for (Qor::HashMap2018UnsafeIteratorConstGeneric it(map_); it; it.advance()) {
         expect(expected != order_.end() && it.currNode().key() == *expected++, "another order");
      }
      for (auto const& [number, value] : values_) look(Key{number});
   }

 private:
   using Order = std::vector<Key>;

   // A member's place, or before all of its hash.
   Order::iterator placeOf(Key key) {
      auto const member = std::ranges::find(order_, key);
      return member != order_.end() ? member : std::ranges::lower_bound(order_, key.hash(), {}, &Key::hash);
   }
   void insert(Key key, int value) {
      if (!values_.try_emplace(key.number, value).second) return;
      map_.newMemberG(key, value);
      order_.insert(std::ranges::upper_bound(order_, key.hash(), {}, &Key::hash), key);
   }
   void gone(Key key) {
      values_.erase(key.number);
      for (auto& walk : walks_) {
         walk.stood.erase(key.number);
         walk.met.erase(key.number);
      }
   }
   void erase(Key key) {
      std::pair<Key, int> removed;
      auto const held = values_.find(key.number);
      expect(map_.deleteMemberG(key, &removed) == (held != values_.end()), "deleted");
      if (held == values_.end()) return;
      expect(removed == std::pair(key, held->second), "another one deleted");
      gone(key);
      order_.erase(placeOf(key));
   }
   void eraseRange(Choices& choices, Key from) {
      Key const to{choices.upTo(32)};
      bool const fromStart = choices.upTo(4) == 1;
      bool const toEnd = choices.upTo(4) == 1;
      auto const first = fromStart ? order_.begin() : placeOf(from);
      auto const last = toEnd ? order_.end() : placeOf(to);
      if (fromStart) {
         toEnd ? map_.memberDelRangeG(Qor::StartOfCollection()) : map_.memberDelRangeG(Qor::StartOfCollection(), to);
      } else {
         toEnd ? map_.memberDelRangeG(from) : map_.memberDelRangeG(from, to);
      }
      if (last <= first) return;
      std::for_each(first, last, [this](Key key) { gone(key); });
      order_.erase(first, last);
   }
   void look(Key key) {
      auto const* const node = map_.lookupNodeG(key);
      auto const held = values_.find(key.number);
      expect((node != nullptr) == (held != values_.end()), "found");
      expect(node == nullptr || node->value() == held->second, "another value");
   }
   void begin() {
      if (walks_.size() == 4) return;
      Walk walk{Qor::HashMap2018IteratorGeneric(map_), {}, {}};
      for (auto const key : order_) walk.stood.insert(key.number);
      walks_.push_back(std::move(walk));
   }
   // To the end it meets whoever has stood throughout, in order, once.
   void advance(std::uint32_t which) {
      auto& [it, stood, met] = walks_[which];
      if (!it) {
         expect(met == stood, "{} members met of {}", met.size(), stood.size());
         walks_.erase(walks_.begin() + which);
         return;
      }
      auto const key = it.currNodeMaybeStale();
      if (stood.contains(key.number)) {
         expect(it.currNodeNonStale().key() == key && met.insert(key.number).second, "stale, or met again");
      }
      it.advance();
      expect(!it || it.currNodeMaybeStale().hash() >= key.hash(), "backwards");
   }

   Map map_;
   std::unordered_map<std::uint32_t, int> values_;
   Order order_;
   std::vector<Walk> walks_;
   std::uint32_t steps_ = 0;
};

}  // namespace
}  // namespace VelmSdkRpc::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   VelmSdkRpc::fuzz::Choices choices(data, size);
   VelmSdkRpc::fuzz::Twins twins;
   while (!choices.atEnd()) {
      twins.step(choices);
   }
   twins.compare();
   return 0;
}
