#include "platform/switch/BgpPathMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"

// The SDK has each operation twice, for IPv4 and for IPv6. Here a family is a struct with its table, its convergence
// and the two members of the handler by which its events are told; the operations choose the family and share all else.
//
// A path's event names the path alone. A handler reads what it wants by the key, which gives what stands then: several
// changes may have come together by the time that the main loop delivers the first event.
namespace velm::embedded {
namespace {

bgp_path_attr_t onlyAskedFor(bgp_path_attr_t attr, bgp_path_attr_fields_t const& fields) {
   if (!fields.next_hop()) attr.next_hop_is({});
   if (!fields.community_list()) attr.community_list_is({});
   return attr;
}

}  // namespace

bgp_afi_safi_t familyOf(bgp_path_key_t const& key) {
   return key.prefix().af() == af_t::ipv6 ? bgp_afi_safi_t::ipv6_unicast : bgp_afi_safi_t::ipv4_unicast;
}

BgpPathMgr::BgpPathMgr(CallLedger& ledger, MainLoop& loop) : loop_(loop), operations_(ledger) {}

bgp_path_iter_t BgpPathMgr::ipv4_unicast_path_iter(bgp_path_options_t const& options) const {
   Call const call(operations_);
   return iter(ipv4_, options);
}

bgp_path_iter_t BgpPathMgr::ipv6_unicast_path_iter(bgp_path_options_t const& options) const {
   Call const call(operations_);
   return iter(ipv6_, options);
}

bgp_path_t BgpPathMgr::ipv4_unicast_path(bgp_path_key_t const& key) const {
   Call const call(operations_);
   return read(ipv4_, key);
}

bgp_path_t BgpPathMgr::ipv6_unicast_path(bgp_path_key_t const& key) const {
   Call const call(operations_);
   return read(ipv6_, key);
}

bool BgpPathMgr::ipv4_unicast_bgp_convergence() const {
   Call const call(operations_);
   return ipv4_.converged;
}

bool BgpPathMgr::ipv6_unicast_bgp_convergence() const {
   Call const call(operations_);
   return ipv6_.converged;
}

bgp_path_iter_t BgpPathMgr::iter(Family const& family, bgp_path_options_t const& options) {
   return makeTableIter(family.paths,
                        [fields = options.path_attr_fields()](bgp_path_key_t const& key, bgp_path_attr_t const& attr) {
                           return bgp_path_t(key, onlyAskedFor(attr, fields));
                        });
}

bgp_path_t BgpPathMgr::read(Family const& family, bgp_path_key_t const& key) {
   bgp_path_attr_t const* attr = family.paths.find(key);
   if (attr == nullptr) throw invalid_argument_error(fmt::format("no such BGP path {}", key.to_string()));
   return {key, *attr};
}

void BgpPathMgr::raisePath(bgp_path_key_t const& key) {
   loop_.post([this, key] {
      auto const family = familyOf(key);
      notify(family, [&](bgp_path_handler& handler) { (handler.*of(family).onPath)(key); });
   });
}

void BgpPathMgr::pathIs(bgp_path_key_t const& key, bgp_path_attr_t const& attr) {
   check_length(key.prefix());
   auto& paths = of(familyOf(key)).paths;
   if (auto const* present = paths.find(key); present != nullptr && *present == attr) return;
   paths.set(Inside(operations_.ledger()), key, attr);
   raisePath(key);
}

void BgpPathMgr::pathDel(bgp_path_key_t const& key) {
   Inside const inside(operations_.ledger());
   if (of(familyOf(key)).paths.del(inside, key)) raisePath(key);
}

void BgpPathMgr::convergedIs(bgp_afi_safi_t family, bool converged) {
   auto& present = of(family).converged;
   if (present == converged) return;
   present = converged;
   loop_.post([this, family, converged] {
      notify(family, [&](bgp_path_handler& handler) { (handler.*of(family).onConverged)(converged); });
   });
}

}  // namespace velm::embedded
