#include "platform/switch/ClassMapMgr.h"

#include <fmt/format.h>

// A class map does nothing by itself: policy maps name it, and whoever needs a policy map's classes reads them then. So
// no event is raised here. A class map that is deleted may still be named.
namespace velm::embedded {
namespace {

// An agent that takes a class map over must know the family of each ACL.
bool isReadable(class_map_rule_t const& rule) {
   auto const type = rule.acl_key().acl_type();
   return type == acl_type_t::ipv4 || type == acl_type_t::ipv6;
}

}  // namespace

ClassMapMgr::ClassMapMgr(CallLedger& ledger) : operations_(ledger) {}

static void decode(StoredBytes& in, class_map_rule_t& rule) {
   decode<class_map_rule_t>(in, rule);
   if (!isReadable(rule)) throw DamagedState("a stored class map names an ACL of no family");
}

void ClassMapMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::classMaps); }

bool ClassMapMgr::exists(policy_map_key_t const& key) const {
   Call const call(operations_);
   return table_.contains(key);
}

class_map_t ClassMapMgr::class_map(policy_map_key_t const& key) const {
   Call const call(operations_);
   class_map_t const* map = table_.find(key);
   if (map == nullptr) throw invalid_argument_error(fmt::format("no such class map {}", key.to_string()));
   return *map;
}

void ClassMapMgr::class_map_is(class_map_t const& class_map) {
   Call const call(operations_);
   if (class_map.key().name().empty()) throw invalid_argument_error("a class map needs a name");
   for (auto const& [sequence, rule] : class_map.rules()) {
      if (isReadable(rule)) continue;
      throw invalid_range_error(
         fmt::format("type {} is out of range", static_cast<unsigned>(rule.acl_key().acl_type())));
   }
   table_.set(call, class_map.key(), class_map);
}

void ClassMapMgr::class_map_del(policy_map_key_t const& key) {
   Call const call(operations_);
   table_.del(call, key);
}

void ClassMapMgr::ruleIs(policy_map_key_t const& key, std::uint32_t sequence, class_map_rule_t const& rule) {
   class_map_t const* present = table_.find(key);
   auto map = present == nullptr ? class_map_t(key) : *present;
   map.rule_set(sequence, rule);
   class_map_is(map);
}

}  // namespace velm::embedded
