#include "platform/switch/NexthopGroupMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"

// Three tables, which change at different times: the groups as asked for change inside the call, their state when the
// dataplane reports, their counters when traffic is simulated. The second and third follow the first.
//
//    nexthop_group_set ---> row, stored ---> Dataplane::groups carries it out ---> groupProgrammed: version, event
//                                                                             ---> groupActive: state, event
//    nexthop_group_del ---> row and counters gone ---> carried out ---> groupActive(false), groupGone
//
// Between a deletion and its report a group has a status and no row; then programmed_nexthop_group_iter still names it,
// and reports about it reach the handlers without changing the status. The purge of a resync goes the way of
// nexthop_group_del, since the dataplane follows the table and not the operations.
namespace velm::embedded {

NexthopGroupMgr::NexthopGroupMgr(CallLedger& ledger) : operations_(ledger) {}

void NexthopGroupMgr::dataplaneIs(Dataplane& dataplane) {
   dataplane_ = &dataplane;
   table_.carrierIs(dataplane.groups());
}

void NexthopGroupMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::nexthopGroups); }

void NexthopGroupMgr::resync_init() {
   Call const call(operations_);
   table_.markAll(call);
}

void NexthopGroupMgr::resync_complete() {
   Call const call(operations_);
   table_.purge(call);
   counters_.mark(call, [&](std::string const& name, auto const&) { return !table_.contains(name); });
   counters_.purge(call);
}

nexthop_group_iter_t NexthopGroupMgr::nexthop_group_iter() const {
   Call const call(operations_);
   return makeTableIter(table_, [](std::string const&, nexthop_group_t const& group) { return group; });
}

programmed_nexthop_group_iter_t NexthopGroupMgr::programmed_nexthop_group_iter() const {
   Call const call(operations_);
   return makeTableIter(statuses_, [](std::string const& name, NexthopGroupStatus const&) { return name; });
}

bool NexthopGroupMgr::exists(std::string const& name) const {
   Call const call(operations_);
   return table_.contains(name);
}

nexthop_group_t NexthopGroupMgr::nexthop_group(std::string const& name) const {
   Call const call(operations_);
   nexthop_group_t const* group = table_.find(name);
   if (group == nullptr) throw invalid_argument_error(fmt::format("no such nexthop group {}", name));
   return *group;
}

bool NexthopGroupMgr::active(std::string const& name) const {
   Call const call(operations_);
   NexthopGroupStatus const* status = statuses_.find(name);
   return status != nullptr && status->active;
}

nexthop_group_t NexthopGroupMgr::programmed_nexthop_group(std::string const& name) const {
   Call const call(operations_);
   // A change shows here a moment early: the loop's next turn programs it.
   nexthop_group_t const* group = statuses_.contains(name) ? table_.find(name) : nullptr;
   if (group == nullptr) throw invalid_argument_error(fmt::format("no such programmed nexthop group {}", name));
   return *group;
}

nexthop_group_entry_counter_t NexthopGroupMgr::counter(std::string const& name, unsigned short entry) const {
   Call const call(operations_);
   nexthop_group_t const* group = table_.find(name);
   if (group == nullptr || !group->nexthops().contains(entry)) return {};
   if (auto const real = dataplane_->counter(name, entry)) return *real;
   if (auto const* counters = counters_.find(name)) {
      if (auto const it = counters->find(entry); it != counters->end()) return it->second;
   }
   return {0, 0};
}

void NexthopGroupMgr::counterIs(std::string const& name, unsigned short entry,
                                nexthop_group_entry_counter_t const& counter) {
   Inside const inside(operations_.ledger());
   counters_.update(inside, name, [&](auto& counters) { counters[entry] = counter; });
}

void NexthopGroupMgr::nexthop_group_set(nexthop_group_t const& group) {
   Call const call(operations_);
   if (group.name().empty()) throw invalid_argument_error("a nexthop group needs a name");
   table_.set(call, group.name(), group);
}

void NexthopGroupMgr::nexthop_group_del(std::string const& name) {
   Call const call(operations_);
   if (table_.del(call, name)) counters_.del(call, name);
}

template <class Fn>
void NexthopGroupMgr::changeStatus(std::string const& name, Fn fn) {
   Inside const inside(operations_.ledger());
   if (table_.contains(name)) statuses_.update(inside, name, fn);
}

void NexthopGroupMgr::groupProgrammed(std::string const& name, unsigned short version) {
   changeStatus(name, [&](NexthopGroupStatus& status) { status.version = version; });
   notify(name, [&](nexthop_group_handler& handler) { handler.on_nexthop_group_programmed(name, version); });
}

void NexthopGroupMgr::groupActive(std::string const& name, bool active) {
   changeStatus(name, [&](NexthopGroupStatus& status) { status.active = active; });
   notify(name, [&](nexthop_group_handler& handler) { handler.on_nexthop_group_active(name, active); });
}

void NexthopGroupMgr::groupGone(std::string const& name) {
   Inside const inside(operations_.ledger());
   statuses_.del(inside, name);
}

}  // namespace velm::embedded
