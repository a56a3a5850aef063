#include "platform/linux/GroupCarrier.h"

#include <fmt/format.h>

#include <memory>

namespace velm::machine {

using embedded::Room;

// A room is a draft, as the number of its address.
namespace {

Groups::Draft* draftOf(std::uint64_t what) { return reinterpret_cast<Groups::Draft*>(what); }

}  // namespace

Room GroupCarrier::prepare(std::string const& /*name*/, nexthop_group_t const* /*now*/, nexthop_group_t const& next) {
   return {*this, reinterpret_cast<std::uint64_t>(groups_.prepare(next))};
}

void GroupCarrier::giveBack(std::uint64_t draft) noexcept { groups_.abandon(draftOf(draft)); }

void GroupCarrier::carryOut(std::string const& name, nexthop_group_t const* now, Room room) noexcept {
   if (now == nullptr) {
      groups_.del(name);
   } else {
      groups_.set(draftOf(room.use()));
   }
}

void GroupCarrier::refused(std::string const& name, nexthop_group_t const& /*row*/, std::string const& why) {
   ++refused_;
   warn_(fmt::format("nexthop group {} drops: {}", name, why));
}

}  // namespace velm::machine
