#pragma once

#include <map>
#include <string>

#include "platform/switch/Dataplane.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/nexthop_group.h"

namespace velm::embedded {

using NexthopGroupTable = Table<std::string, nexthop_group_t>;

/// A group's state in the dataplane.
struct NexthopGroupStatus {
   unsigned short version = 0;
   bool active = false;
};
using NexthopGroupStatusTable = Table<std::string, NexthopGroupStatus>;

/// Nexthop groups: what was asked for, and beside it what the dataplane reported.
class NexthopGroupMgr : public nexthop_group_mgr, public GroupReports {
 public:
   explicit NexthopGroupMgr(CallLedger& ledger);

   /// The dataplane carries the groups out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane);
   /// Brings the folder's groups back, to be programmed anew, and keeps every change in it.
   void storeIs(Store& store);
   NexthopGroupTable const& table() const { return table_; }
   NexthopGroupStatusTable const& statuses() const { return statuses_; }

   /// Sets the counter of an entry. It goes with the group and can be read while the group has the entry.
   void counterIs(std::string const& name, unsigned short entry, nexthop_group_entry_counter_t const& counter);

   void resync_init() override;
   void resync_complete() override;
   nexthop_group_iter_t nexthop_group_iter() const override;
   programmed_nexthop_group_iter_t programmed_nexthop_group_iter() const override;
   bool exists(std::string const& name) const override;
   nexthop_group_t nexthop_group(std::string const& name) const override;
   bool active(std::string const& name) const override;
   nexthop_group_t programmed_nexthop_group(std::string const& name) const override;
   nexthop_group_entry_counter_t counter(std::string const& name, unsigned short entry) const override;
   void nexthop_group_set(nexthop_group_t const& group) override;
   void nexthop_group_del(std::string const& name) override;

   void groupProgrammed(std::string const& name, unsigned short version) override;
   void groupActive(std::string const& name, bool active) override;
   void groupGone(std::string const& name) override;

 private:
   /// A report about a group that has been deleted meanwhile leaves no status.
   template <class Fn>
   void changeStatus(std::string const& name, Fn fn);

   Dataplane* dataplane_ = nullptr;  // set before the first operation
   NexthopGroupTable table_;
   NexthopGroupStatusTable statuses_;
   // By group, then by entry; entries without traffic are left out. Where the dataplane counts, this is empty.
   Table<std::string, std::map<unsigned short, nexthop_group_entry_counter_t>> counters_;

   Operations<"nexthop_group_mgr", "resync_init", "resync_complete", "nexthop_group_iter",
              "programmed_nexthop_group_iter", "exists", "nexthop_group", "active", "programmed_nexthop_group",
              "counter", "nexthop_group_set", "nexthop_group_del">
      operations_;
};

}  // namespace velm::embedded
