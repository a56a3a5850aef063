#include "platform/switch/SimulatedDataplane.h"

#include <algorithm>
#include <utility>

#include "platform/switch/Json.h"

// Every call only posts an event, so that the dataplane works in the order of the changes, on the main loop, and never
// inside the call that changed a table: what it reports comes after that call has returned.
//
// A group is active while traffic can leave through it. Which groups an interface decides is indexed (groupsByIntf_),
// so that a link that falls touches its own groups alone. A group's version counts its programmings and begins at 1
// anew when the group was deleted in between; a version or state that a command has simulated is what the next change
// goes on from.
namespace velm::embedded {

SimulatedDataplane::Exits SimulatedDataplane::exitsOf(nexthop_group_t const& group) {
   Exits exits;
   for (auto const& [index, entry] : group.nexthops()) {
      if (entry.intf() != intf_id_t()) {
         exits.intfs.insert(entry.intf());
      } else {
         exits.always |= entry.nexthop().af() != af_t::none || !entry.child_nexthop_group().empty();
      }
   }
   return exits;
}

void SimulatedDataplane::carryOut(std::string const& name, nexthop_group_t const* now, Room /*room*/) noexcept {
   if (now == nullptr) {
      loop_.post([this, name] { forget(name); });
   } else {
      loop_.post([this, name, exits = exitsOf(*now)]() mutable { program(name, std::move(exits)); });
   }
}

void SimulatedDataplane::carryOut(sbfd_echo_session_key_t const& key, SbfdSession const* now, Room /*room*/) noexcept {
   if (now == nullptr) {
      loop_.post([this, key] { sbfd_.sessionDel(key); });
   } else {
      loop_.post([this, key, interval = now->effectiveInterval(), rttEnabled = now->rttEnabled] {
         sbfd_.sessionIs(key, interval, rttEnabled);
      });
   }
}

void SimulatedDataplane::intfIs(intf_id_t intf, oper_status_t status) {
   loop_.post([this, intf, status] {
      bool const up = status == oper_status_t::up;
      bool const changed = up ? up_.insert(intf).second : up_.erase(intf) > 0;
      if (!changed) return;
      sbfd_.intfIs(intf, up);
      auto const it = groupsByIntf_.find(intf);
      if (it == groupsByIntf_.end()) return;
      for (auto const& name : it->second) refresh(name, groups_.at(name));
   });
}

std::string SimulatedDataplane::describe() const {
   return jsonObject([](JsonWriter& json) { writeMember(json, "dataplane", "simulated"); });
}

void SimulatedDataplane::simulateProgrammed(std::string const& name, unsigned short version) {
   loop_.post([this, name, version] {
      if (auto const it = groups_.find(name); it != groups_.end()) it->second.version = version;
      reports_.groupProgrammed(name, version);
   });
}

void SimulatedDataplane::simulateActive(std::string const& name, bool active) {
   loop_.post([this, name, active] {
      if (auto const it = groups_.find(name); it != groups_.end()) it->second.active = active;
      reports_.groupActive(name, active);
   });
}

void SimulatedDataplane::program(std::string const& name, Exits exits) {
   auto& group = groups_[name];
   watchExits(name, group.exits, false);
   group.exits = std::move(exits);
   watchExits(name, group.exits, true);
   ++group.version;
   reports_.groupProgrammed(name, group.version);
   refresh(name, group);
}

void SimulatedDataplane::forget(std::string const& name) {
   auto const it = groups_.find(name);
   if (it == groups_.end()) return;
   watchExits(name, it->second.exits, false);
   bool const wasActive = it->second.active;
   groups_.erase(it);
   if (wasActive) reports_.groupActive(name, false);
   reports_.groupGone(name);
}

void SimulatedDataplane::watchExits(std::string const& name, Exits const& exits, bool on) {
   for (auto const& intf : exits.intfs) {
      if (on) {
         groupsByIntf_[intf].insert(name);
      } else {
         groupsByIntf_[intf].erase(name);
      }
   }
}

void SimulatedDataplane::refresh(std::string const& name, Group& group) {
   bool const active = group.exits.always ||
                       std::ranges::any_of(group.exits.intfs, [&](auto const& intf) { return up_.contains(intf); });
   if (std::exchange(group.active, active) != active) reports_.groupActive(name, active);
}

std::unique_ptr<Dataplane> makeSimulatedDataplane(DataplaneSurroundings const& around) {
   return std::make_unique<SimulatedDataplane>(around);
}

}  // namespace velm::embedded
