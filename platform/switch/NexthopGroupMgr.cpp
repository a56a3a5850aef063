#include "platform/switch/NexthopGroupMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"

namespace velm::embedded {

NexthopGroupMgr::NexthopGroupMgr(CallLedger& ledger)
   : resync_init_(ledger, "nexthop_group_mgr.resync_init"),
     resync_complete_(ledger, "nexthop_group_mgr.resync_complete"),
     iter_(ledger, "nexthop_group_mgr.nexthop_group_iter"),
     programmed_iter_(ledger, "nexthop_group_mgr.programmed_nexthop_group_iter"),
     exists_(ledger, "nexthop_group_mgr.exists"),
     group_(ledger, "nexthop_group_mgr.nexthop_group"),
     active_(ledger, "nexthop_group_mgr.active"),
     programmed_(ledger, "nexthop_group_mgr.programmed_nexthop_group"),
     counter_(ledger, "nexthop_group_mgr.counter"),
     set_(ledger, "nexthop_group_mgr.nexthop_group_set"),
     del_(ledger, "nexthop_group_mgr.nexthop_group_del") {}

void NexthopGroupMgr::dataplaneIs(Dataplane& dataplane) {
   table_.onChange([&](std::string const& name, nexthop_group_t const* now) {
      if (now == nullptr) {
         counters_.del(name);
         dataplane.groupDel(name);
      } else {
         dataplane.groupIs(*now);
      }
   });
}

void NexthopGroupMgr::storeIs(Store& store) { table_.storeIs(store, StoredTable::nexthopGroups); }

void NexthopGroupMgr::resync_init() {
   Call const call(resync_init_);
   table_.markAll();
}

void NexthopGroupMgr::resync_complete() {
   Call const call(resync_complete_);
   table_.purge();
}

nexthop_group_iter_t NexthopGroupMgr::nexthop_group_iter() const {
   Call const call(iter_);
   return makeTableIter(table_, [](std::string const&, nexthop_group_t const& group) { return group; });
}

programmed_nexthop_group_iter_t NexthopGroupMgr::programmed_nexthop_group_iter() const {
   Call const call(programmed_iter_);
   return makeTableIter(statuses_, [](std::string const& name, NexthopGroupStatus const&) { return name; });
}

bool NexthopGroupMgr::exists(std::string const& name) const {
   Call const call(exists_);
   return table_.contains(name);
}

nexthop_group_t NexthopGroupMgr::nexthop_group(std::string const& name) const {
   Call const call(group_);
   nexthop_group_t const* group = table_.find(name);
   if (group == nullptr) throw invalid_argument_error(fmt::format("no such nexthop group {}", name));
   return *group;
}

bool NexthopGroupMgr::active(std::string const& name) const {
   Call const call(active_);
   NexthopGroupStatus const* status = statuses_.find(name);
   return status != nullptr && status->active;
}

nexthop_group_t NexthopGroupMgr::programmed_nexthop_group(std::string const& name) const {
   Call const call(programmed_);
   // A change shows here a moment early: the loop's next turn programs it.
   nexthop_group_t const* group = statuses_.contains(name) ? table_.find(name) : nullptr;
   if (group == nullptr) throw invalid_argument_error(fmt::format("no such programmed nexthop group {}", name));
   return *group;
}

nexthop_group_entry_counter_t NexthopGroupMgr::counter(std::string const& name, unsigned short entry) const {
   Call const call(counter_);
   nexthop_group_t const* group = table_.find(name);
   if (group == nullptr || !group->nexthops().contains(entry)) return {};
   if (auto const* counters = counters_.find(name)) {
      if (auto const it = counters->find(entry); it != counters->end()) return it->second;
   }
   return {0, 0};
}

void NexthopGroupMgr::counterIs(std::string const& name, unsigned short entry,
                                nexthop_group_entry_counter_t const& counter) {
   counters_.update(name, [&](auto& counters) { counters[entry] = counter; });
}

void NexthopGroupMgr::nexthop_group_set(nexthop_group_t const& group) {
   Call const call(set_);
   if (group.name().empty()) throw invalid_argument_error("a nexthop group needs a name");
   table_.set(group.name(), group);
}

void NexthopGroupMgr::nexthop_group_del(std::string const& name) {
   Call const call(del_);
   table_.del(name);
}

template <class Fn>
void NexthopGroupMgr::changeStatus(std::string const& name, Fn fn) {
   if (table_.contains(name)) statuses_.update(name, fn);
}

void NexthopGroupMgr::groupProgrammed(std::string const& name, unsigned short version) {
   changeStatus(name, [&](NexthopGroupStatus& status) { status.version = version; });
   notify(name, [&](nexthop_group_handler& handler) { handler.on_nexthop_group_programmed(name, version); });
}

void NexthopGroupMgr::groupActive(std::string const& name, bool active) {
   changeStatus(name, [&](NexthopGroupStatus& status) { status.active = active; });
   notify(name, [&](nexthop_group_handler& handler) { handler.on_nexthop_group_active(name, active); });
}

void NexthopGroupMgr::groupGone(std::string const& name) { statuses_.del(name); }

}  // namespace velm::embedded
