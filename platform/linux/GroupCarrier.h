#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/linux/forwarding/Groups.h"
#include "platform/switch/Carrier.h"
#include "platform/velm/nexthop_group.h"

namespace velm::machine {

/// Carries out nexthop groups.
class GroupCarrier : public embedded::Carrier<std::string, nexthop_group_t>, embedded::Room::Keeper {
 public:
   using Warn = std::function<void(std::string const&)>;

   GroupCarrier(Groups& groups, Warn warn) : groups_(groups), warn_(std::move(warn)) {}

   embedded::Room prepare(std::string const& name, nexthop_group_t const* now, nexthop_group_t const& next) override;
   void carryOut(std::string const& name, nexthop_group_t const* now, embedded::Room room) noexcept override;
   /// What leads through it is dropped.
   void refused(std::string const& name, nexthop_group_t const& row, std::string const& why) override;

   std::size_t refusedGroups() const { return refused_; }

 private:
   void giveBack(std::uint64_t draft) noexcept override;

   Groups& groups_;
   Warn const warn_;
   std::size_t refused_ = 0;
};

}  // namespace velm::machine
