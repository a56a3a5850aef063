// The tables' map of a million keys against std::map.
#include "platform/switch/RadixMap.h"

#include <array>
#include <map>

#include "trials/fuzz/Choices.h"

using Words = std::array<std::uint64_t, 3>;

template <>
struct velm::embedded::RadixWords<Words> {
   static std::uint64_t word(Words const& key, std::size_t index) { return index < key.size() ? key[index] : 0; }
};

namespace VelmSdkRpc::fuzz {
namespace {

using Map = velm::embedded::RadixMap<Words, int>;
using Model = std::map<Words, Map::value_type*>;

// One that differs from the last in few bits, wherever they lie.
Words keyOf(Choices& choices, Words key) {
   for (auto bits = choices.upTo(4); bits > 0; --bits) key[choices.upTo(3)] ^= std::uint64_t{1} << choices.upTo(64);
   return key;
}

/// A map and what it should be.
class Twins {
 public:
   void step(Choices& choices) {
      auto const last = key_;
      key_ = keyOf(choices, key_);
      map_.prefetch(std::array{last, key_});
      switch (choices.upTo(6)) {
         case 0:
         case 1: {
            auto const [it, fresh] = map_.try_emplace(key_, 7);
            expect(fresh == model_.try_emplace(key_, &*it).second, "inserted");
            return compare(it, model_.find(key_));
         }
         case 2: return expect(map_.erase(key_) == (model_.erase(key_) == 1), "erased");
         case 3: return compare(map_.find(key_), model_.find(key_));
         case 4: return compare(map_.lower_bound(key_), model_.lower_bound(key_));
         default: return compare(map_.upper_bound(key_), model_.upper_bound(key_));
      }
   }
   void walk() {
      expect(map_.size() == model_.size() && map_.empty() == model_.empty(), "size");
      auto it = map_.begin();
      for (auto expected = model_.begin(); expected != model_.end(); ++expected) compare(it++, expected);
      expect(it == map_.end(), "end");
   }
   void clear() {
      map_.clear();
      model_.clear();
   }

 private:
   void compare(Map::iterator it, Model::iterator expected) {
      if (expected == model_.end()) return expect(it == map_.end(), "no end");
      expect(it != map_.end() && &*it == expected->second && it->first == expected->first, "another entry");
      auto const next = std::next(expected);
      ++it;
      expect((it == map_.end() ? nullptr : &*it) == (next == model_.end() ? nullptr : next->second),
             "another one next");
   }

   Map map_;
   Model model_;
   Words key_{};
};

}  // namespace
}  // namespace VelmSdkRpc::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   VelmSdkRpc::fuzz::Choices choices(data, size);
   VelmSdkRpc::fuzz::Twins twins;
   while (!choices.atEnd()) twins.step(choices);
   twins.walk();
   twins.clear();
   twins.walk();
   return 0;
}
