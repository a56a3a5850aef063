#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/switch/IntfMgr.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/eth_lag_intf.h"

namespace velm::embedded {

/// The attributes of a LAG beyond those of the Port-Channel interface that it is.
struct Lag {
   static constexpr unsigned short defaultFallbackTimeout = 90;

   std::uint32_t minLinks = 0;
   eth_lag_intf_fallback_type_t fallbackType = eth_lag_intf_fallback_type_t::unset;
   unsigned short fallbackTimeout = defaultFallbackTimeout;

   static constexpr auto attributes() {
      return std::tuple{attribute{"min_links", &Lag::minLinks}, attribute{"fallback_type", &Lag::fallbackType},
                        attribute{"fallback_timeout", &Lag::fallbackTimeout}};
   }
};

/// An interface's membership.
struct LagMember {
   static constexpr unsigned short defaultPriority = 32768;  // LACP's own

   intf_id_t lag;
   eth_lag_intf_member_lacp_mode_t mode = eth_lag_intf_member_lacp_mode_t::none;
   unsigned short priority = defaultPriority;
   eth_lag_intf_member_lacp_timeout_t timeout = eth_lag_intf_member_lacp_timeout_t::none;

   static constexpr auto attributes() {
      return std::tuple{attribute{"lag", &LagMember::lag}, attribute{"mode", &LagMember::mode},
                        attribute{"priority", &LagMember::priority}, attribute{"timeout", &LagMember::timeout}};
   }
};

/// LAGs and their members. Whether a member is active, and with it a LAG's state and speed, is read off the interfaces
/// whenever it is asked for.
class EthLagIntfMgr : public eth_lag_intf_mgr, public IntfFollower {
 public:
   EthLagIntfMgr(CallLedger& ledger, MainLoop& loop, IntfMgr& intfs);

   /// Brings the folder's LAGs and memberships back, without events, and keeps every change in it. To be called after
   /// that of the interfaces, whose states it tells the dataplane anew.
   void storeIs(Store& store);

   Table<intf_id_t, Lag> const& table() const { return lags_; }
   /// The members of a LAG, in order.
   std::vector<intf_id_t> members(intf_id_t lag) const;
   /// Throws what membership_set throws for an interface that cannot be a member.
   void checkMember(intf_id_t intf) const;
   /// The world outside: the LAG has the speed, and raises its event, until its members change. Throws
   /// configuration_error for an unknown LAG.
   void reportSpeed(intf_id_t lag, std::uint64_t speed);

   eth_lag_intf_iter_t eth_lag_intf_iter() const override;
   bool exists(intf_id_t lag) const override;
   eth_lag_intf_member_iter_t eth_lag_intf_member_iter(intf_id_t lag) const override;
   void eth_lag_intf_is(intf_id_t lag) override;
   eth_lag_intf_t eth_lag_intf(intf_id_t lag) const override;
   void eth_lag_intf_del(intf_id_t lag) override;
   std::uint64_t speed(intf_id_t lag) const override;
   std::uint32_t min_links(intf_id_t lag) const override;
   void min_links_is(intf_id_t lag, std::uint32_t min_links) override;
   eth_lag_intf_fallback_type_t fallback_type(intf_id_t lag) const override;
   void fallback_type_is(intf_id_t lag, eth_lag_intf_fallback_type_t type) override;
   unsigned short fallback_timeout(intf_id_t lag) const override;
   void fallback_timeout_is(intf_id_t lag, unsigned short timeout) override;
   unsigned short fallback_timeout_default(intf_id_t lag) const override;
   void membership_set(intf_id_t intf, intf_id_t lag, eth_lag_intf_member_lacp_mode_t mode) override;
   void membership_del(intf_id_t intf) override;
   intf_id_t membership(intf_id_t intf) const override;
   eth_lag_intf_membership_t membership_status(intf_id_t intf) const override;
   unsigned short member_priority(intf_id_t intf) const override;
   void member_priority_is(intf_id_t intf, unsigned short priority) override;
   eth_lag_intf_member_lacp_mode_t member_mode(intf_id_t intf) const override;
   void member_mode_is(intf_id_t intf, eth_lag_intf_member_lacp_mode_t mode) override;
   eth_lag_intf_member_lacp_timeout_t member_timeout(intf_id_t intf) const override;
   void member_timeout_is(intf_id_t intf, eth_lag_intf_member_lacp_timeout_t timeout) override;
   bool member_active(intf_id_t intf) const override;
   double member_time(intf_id_t intf) const override;
   std::string member_reason(intf_id_t intf) const override;

   void intfCreated(Transaction& transaction, intf_id_t intf) override;
   void intfChanged(Transaction& transaction, intf_id_t intf) override;
   void intfRemoved(Transaction& transaction, intf_id_t intf) override;
   bool holdsDown(intf_id_t intf) const override;

 private:
   /// Each member of a LAG, and whether it is active.
   using Links = std::vector<std::pair<intf_id_t, bool>>;

   static bool isLagName(intf_id_t intf);
   Lag lag(intf_id_t lag) const;
   LagMember member(intf_id_t intf) const;
   Links links(intf_id_t lag) const;
   bool active(intf_id_t intf) const;
   std::string reason(intf_id_t intf) const;
   std::uint64_t speedOf(intf_id_t lag) const;

   void demand(intf_id_t lag) const;
   template <class T>
   void lagIs(Call const& call, intf_id_t lag, T Lag::*attribute, T value);
   template <class T>
   void memberIs(Call const& call, intf_id_t intf, T LagMember::*attribute, T value);

   void joined(Transaction& transaction, intf_id_t intf, intf_id_t lag);
   void left(Transaction& transaction, intf_id_t intf, intf_id_t lag);
   /// Has the transaction raise the events of what it alters of the LAG's state and speed.
   void watch(Transaction& transaction, intf_id_t lag);
   void compare(intf_id_t lag, Links const& linksBefore, std::uint64_t speedBefore);
   template <class Fn>
   void raise(Transaction& transaction, intf_id_t lag, Fn fn);
   void raiseSpeed(intf_id_t lag);

   MainLoop& loop_;
   IntfMgr& intfs_;
   Table<intf_id_t, Lag> lags_;
   Table<intf_id_t, LagMember> members_;             // by member
   Table<intf_id_t, double> memberTimes_;            // by member; not stored
   Table<intf_id_t, std::uint64_t> reportedSpeeds_;  // of LAGs whose members have not changed since; not stored

   Operations<"eth_lag_intf_mgr", "eth_lag_intf_iter", "exists", "eth_lag_intf_member_iter", "eth_lag_intf_is",
              "eth_lag_intf", "eth_lag_intf_del", "speed", "min_links", "min_links_is", "fallback_type",
              "fallback_type_is", "fallback_timeout", "fallback_timeout_is", "fallback_timeout_default",
              "membership_set", "membership_del", "membership", "membership_status", "member_priority",
              "member_priority_is", "member_mode", "member_mode_is", "member_timeout", "member_timeout_is",
              "member_active", "member_time", "member_reason">
      operations_;
};

}  // namespace velm::embedded
