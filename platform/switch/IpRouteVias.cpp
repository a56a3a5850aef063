#include "platform/switch/IpRouteVias.h"

#include <algorithm>
#include <utility>

// Nearly all of a million routes have one via that names a nexthop group and nothing else. That one is a reference to
// the group's name, 8 bytes with no allocation of its own; only other vias are kept as whole values, in a list.
namespace velm::embedded {
namespace {

// Nearly always the metrics are equal, and then nothing has to be copied to leave them out.
bool sameVia(ip_route_via_t const& a, ip_route_via_t const& b) {
   if (a.metric() == b.metric()) return a == b;
   ip_route_via_t other = b;
   other.metric_is(a.metric());
   return a == other;
}

ip_route_via_t groupVia(ip_route_key_t const& key, std::string const& group) {
   ip_route_via_t via(key);
   via.nexthop_group_is(group);
   return via;
}

}  // namespace

void IpRouteVias::set(ip_route_via_t const& via, NamePool& names) {
   if (!via.nexthop_group().empty()) {
      others_.reset();
      groupMarked_ = false;
      if (via == groupVia(via.route_key(), via.nexthop_group())) {
         group_ = names.get(via.nexthop_group());
      } else {
         group_ = {};
         others_ = std::make_unique<StoredVias<ip_route_via_t>>(1, StoredVia<ip_route_via_t>{via});
      }
      return;
   }
   group_ = {};
   if (!others_) others_ = std::make_unique<StoredVias<ip_route_via_t>>();
   std::erase_if(*others_, [](auto const& stored) { return !stored.via.nexthop_group().empty(); });
   auto const it = std::ranges::find_if(*others_, [&](auto const& stored) { return sameVia(stored.via, via); });
   if (it == others_->end()) {
      others_->push_back({via});
   } else {
      *it = {via};
   }
}

bool IpRouteVias::del(ip_route_via_t const& via) {
   if (group_ && sameVia(groupVia(via.route_key(), *group_), via)) {
      group_ = {};
      return true;
   }
   return others_ && std::erase_if(*others_, [&](auto const& stored) { return sameVia(stored.via, via); }) > 0;
}

bool IpRouteVias::holds(ip_route_via_t const& via) const {
   if (group_) return sameVia(groupVia(via.route_key(), *group_), via);
   return others_ && std::ranges::any_of(*others_, [&](auto const& stored) { return sameVia(stored.via, via); });
}

void IpRouteVias::mark(bool marked) {
   groupMarked_ = marked;
   if (others_) markVias(*others_, marked);
}

bool IpRouteVias::anyMarked() const { return group_ ? groupMarked_ : others_ && embedded::anyMarked(*others_); }

void IpRouteVias::dropMarked() {
   if (group_ && groupMarked_) group_ = {};
   if (others_) embedded::dropMarked(*others_);
}

std::vector<ip_route_via_t> IpRouteVias::list(ip_route_key_t const& key) const {
   if (group_) return {groupVia(key, *group_)};
   return others_ ? plainVias(*others_) : std::vector<ip_route_via_t>();
}

// A bare group is its name; anything else is an empty name and the list.
void encode(std::string& out, IpRouteVias const& vias) {
   encode(out, vias.group_ ? *vias.group_ : std::string());
   if (!vias.group_) encode(out, vias.others_ ? *vias.others_ : StoredVias<ip_route_via_t>());
}

void decode(StoredBytes& in, IpRouteVias& vias, NamePool& names) {
   std::string group;
   decode(in, group);
   if (!group.empty()) {
      vias.group_ = names.get(group);
      return;
   }
   StoredVias<ip_route_via_t> others;
   decode(in, others);
   if (!others.empty()) vias.others_ = std::make_unique<StoredVias<ip_route_via_t>>(std::move(others));
}

}  // namespace velm::embedded
