#include <algorithm>

#include "platform/switch/EthLagIntfMgr.h"
#include "platform/switch/Timestamp.h"

// EthLagIntfMgr's inner half: the state of LAGs, which follows from their members' interfaces at any moment, and what a
// change of an interface or of a membership makes of it.
//
// Nothing of that state is kept: whether a member is active, and with it a LAG's state and speed, is asked of the
// interfaces each time. Kept state would have to be mended by every change that it depends on. A change is noticed by
// comparing before and after instead:
//
//    watch(lag): copy its links and speed ---> rows change ---> compare: raise what differs
//
// Two things cannot be derived and are kept in memory: when a member last changed its state (memberTimes_), and a speed
// that the world outside has reported (reportedSpeeds_), which holds until the LAG's links change.
namespace velm::embedded {
namespace {

constexpr std::uint64_t memberSpeed = 100'000'000'000;  // bit/s

auto countActive(auto const& links) {
   return static_cast<std::uint64_t>(std::ranges::count_if(links, [](auto const& link) { return link.second; }));
}

}  // namespace

bool EthLagIntfMgr::isLagName(intf_id_t intf) { return intf.kind() == intf_id_t::kind_t::port_channel; }

Lag EthLagIntfMgr::lag(intf_id_t lag) const {
   Lag const* const row = lags_.find(lag);
   return row == nullptr ? Lag() : *row;
}

LagMember EthLagIntfMgr::member(intf_id_t intf) const {
   LagMember const* const row = members_.find(intf);
   return row == nullptr ? LagMember() : *row;
}

std::vector<intf_id_t> EthLagIntfMgr::members(intf_id_t lag) const {
   std::vector<intf_id_t> members;
   members_.each([&](intf_id_t const& intf, LagMember const& member) {
      if (member.lag == lag) members.push_back(intf);
   });
   return members;
}

EthLagIntfMgr::Links EthLagIntfMgr::links(intf_id_t lag) const {
   Links links;
   for (auto const& intf : members(lag)) links.emplace_back(intf, active(intf));
   return links;
}

bool EthLagIntfMgr::active(intf_id_t intf) const {
   return members_.contains(intf) && intfs_.operStatus(intf) == oper_status_t::up;
}

std::string EthLagIntfMgr::reason(intf_id_t intf) const {
   Intf const* const row = intfs_.table().find(intf);
   if (row == nullptr || !members_.contains(intf)) return {};
   if (!row->adminEnabled) return "the interface is disabled";
   switch (row->link) {
      case oper_status_t::up: return "the link is up";
      case oper_status_t::down: return "the link is down";
      case oper_status_t::unknown: break;
   }
   return "the state of the link is unknown";
}

std::uint64_t EthLagIntfMgr::speedOf(intf_id_t lag) const {
   if (auto const* reported = reportedSpeeds_.find(lag)) return *reported;
   return countActive(links(lag)) * memberSpeed;
}

bool EthLagIntfMgr::holdsDown(intf_id_t intf) const {
   return isLagName(intf) && countActive(links(intf)) < std::max(1U, lag(intf).minLinks);
}

template <class Fn>
void EthLagIntfMgr::raise(Transaction& transaction, intf_id_t lag, Fn fn) {
   transaction.then([this, lag, fn] { loop_.post([this, lag, fn] { notify(lag, fn); }); });
}

void EthLagIntfMgr::raiseSpeed(intf_id_t lag) {
   loop_.post([this, lag, speed = speedOf(lag)] {
      notify(lag, [&](eth_lag_intf_handler& handler) { handler.on_lag_intf_speed(lag, speed); });
   });
}

void EthLagIntfMgr::watch(Transaction& transaction, intf_id_t lag) {
   if (!lags_.contains(lag)) return;
   intfs_.watch(transaction, lag);
   transaction.then([this, lag, links = links(lag), speed = speedOf(lag)] { compare(lag, links, speed); });
}

void EthLagIntfMgr::compare(intf_id_t lag, Links const& linksBefore, std::uint64_t speedBefore) {
   Inside const inside(operations_.ledger());
   auto const now = links(lag);
   if (now != linksBefore) reportedSpeeds_.del(inside, lag);
   for (auto const& link : now) {
      if (std::ranges::find(linksBefore, link) == linksBefore.end()) memberTimes_.set(inside, link.first, timestamp());
   }
   if (speedOf(lag) != speedBefore) raiseSpeed(lag);
}

void EthLagIntfMgr::joined(Transaction& transaction, intf_id_t intf, intf_id_t lag) {
   raise(transaction, lag, [lag, intf](eth_lag_intf_handler& handler) { handler.on_lag_member_set(lag, intf); });
}

void EthLagIntfMgr::left(Transaction& transaction, intf_id_t intf, intf_id_t lag) {
   memberTimes_.del(transaction, intf);
   raise(transaction, lag, [lag, intf](eth_lag_intf_handler& handler) { handler.on_lag_member_del(lag, intf); });
}

void EthLagIntfMgr::intfCreated(Transaction& transaction, intf_id_t intf) {
   if (!isLagName(intf)) return;
   lags_.set(transaction, intf, {});
   raise(transaction, intf, [intf](eth_lag_intf_handler& handler) { handler.on_eth_lag_intf_create(intf); });
}

void EthLagIntfMgr::intfChanged(Transaction& transaction, intf_id_t intf) { watch(transaction, member(intf).lag); }

void EthLagIntfMgr::intfRemoved(Transaction& transaction, intf_id_t intf) {
   if (auto const lag = member(intf).lag; members_.del(transaction, intf)) {
      left(transaction, intf, lag);
      watch(transaction, lag);
   }
   if (!lags_.del(transaction, intf)) return;
   // Members of a LAG that goes are told as leaving it. The LAG is not watched: what is gone has no state and no speed.
   reportedSpeeds_.del(transaction, intf);
   for (auto const& member : members(intf)) {
      members_.del(transaction, member);
      left(transaction, member, intf);
   }
   raise(transaction, intf, [intf](eth_lag_intf_handler& handler) { handler.on_eth_lag_intf_delete(intf); });
}

void EthLagIntfMgr::reportSpeed(intf_id_t lag, std::uint64_t speed) {
   demand(lag);
   Inside const inside(operations_.ledger());
   reportedSpeeds_.set(inside, lag, speed);
   raiseSpeed(lag);
}

}  // namespace velm::embedded
