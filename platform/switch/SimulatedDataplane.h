#pragma once

#include <absl/container/flat_hash_map.h>

#include <set>
#include <string>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"

namespace velm::embedded {

/// A dataplane without hardware: every group can be programmed, and is active when one of its entries leaves by an
/// interface that is up, or by an address or a child group without naming an interface.
class SimulatedDataplane : public Dataplane {
 public:
   SimulatedDataplane(MainLoop& loop, DataplaneReports& reports) : loop_(loop), reports_(reports) {}

   void groupIs(nexthop_group_t const& group) override;
   void groupDel(std::string const& name) override;
   void intfIs(intf_id_t intf, oper_status_t status) override;

 private:
   /// What of a group decides whether traffic can leave through it.
   struct Exits {
      std::set<intf_id_t> intfs;
      bool always = false;  // by an entry that names no interface
   };
   struct Group {
      Exits exits;
      unsigned short version = 0;
      bool active = false;
   };

   static Exits exitsOf(nexthop_group_t const& group);
   void program(std::string const& name, Exits exits);
   void forget(std::string const& name);
   void watchExits(std::string const& name, Exits const& exits, bool on);
   void refresh(std::string const& name, Group& group);

   MainLoop& loop_;
   DataplaneReports& reports_;
   // Touched on the main loop only, under the SDK lock.
   absl::flat_hash_map<std::string, Group> groups_;
   absl::flat_hash_map<intf_id_t, std::set<std::string>> groupsByIntf_;
   std::set<intf_id_t> up_;
};

}  // namespace velm::embedded
