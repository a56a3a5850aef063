#pragma once

#include <absl/container/btree_map.h>

#include <utility>
#include <vector>

namespace velm::netlink {

/// Is told of what a Mirror holds, behind each change of it, in the order of the changes. May read every mirror and ask
/// the kernel for changes, which are told later, by their notices. Must not throw.
template <class Value>
class Observer {
 public:
   virtual void came(Value const& now) = 0;
   virtual void changed(Value const& before, Value const& now) = 0;
   virtual void gone(Value const& before) = 0;

 protected:
   ~Observer() = default;
};

/// What the kernel has of one sort, as far as its notices have been read, in the order of Value::key(). A value that
/// equals the one held tells nothing. One that does not continue it (Value::continues) is told as gone and come.
template <class Value>
class Mirror {
 public:
   using Key = decltype(std::declval<Value const&>().key());
   using Rows = absl::btree_map<Key, Value>;

   explicit Mirror(Observer<Value>& observer) : observer_(observer) {}

   Rows const& rows() const { return rows_; }
   Value const* find(Key const& key) const {
      auto const found = rows_.find(key);
      return found == rows_.end() ? nullptr : &found->second;
   }

   void set(Value const& now) {
      auto const [place, isNew] = rows_.try_emplace(now.key(), now);
      if (isNew) return observer_.came(now);
      if (place->second == now) return;
      auto const before = std::exchange(place->second, now);
      if (now.continues(before)) return observer_.changed(before, now);
      observer_.gone(before);
      observer_.came(now);
   }
   void del(Key const& key) {
      if (auto const place = rows_.find(key); place != rows_.end()) take(place);
   }
   /// Deletes whatever the condition holds for.
   template <class Condition>
   void delIf(Condition&& condition) {
      for (auto place = rows_.begin(); place != rows_.end();) {
         place = condition(place->second) ? take(place) : std::next(place);
      }
   }

   /// Where keys are pairs that begin with a link's index: the values of that link, and their deletion.
   std::vector<Value> of(int ifindex) const {
      std::vector<Value> values;
      for (auto place = begin(ifindex); isOf(place, ifindex); ++place) values.push_back(place->second);
      return values;
   }
   void delOf(int ifindex) {
      for (auto place = begin(ifindex); isOf(place, ifindex);) place = take(place);
   }

 private:
   using Place = typename Rows::iterator;

   auto begin(int ifindex) const { return rows_.lower_bound(Key(ifindex, {})); }
   Place begin(int ifindex) { return rows_.lower_bound(Key(ifindex, {})); }
   template <class Iterator>
   bool isOf(Iterator place, int ifindex) const {
      return place != rows_.end() && place->first.first == ifindex;
   }
   Place take(Place place) {
      auto const before = std::move(place->second);
      auto const next = rows_.erase(place);
      observer_.gone(before);
      return next;
   }

   Observer<Value>& observer_;
   Rows rows_;
};

}  // namespace velm::netlink
