#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

#include "platform/velm/attribute.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The behaviour of a LAG while its peer speaks no LACP.
enum class eth_lag_intf_fallback_type_t : std::uint8_t { unset = 0, none = 1, static_mode = 2, individual = 3 };
constexpr auto last_value(eth_lag_intf_fallback_type_t) { return eth_lag_intf_fallback_type_t::individual; }

/// How a member negotiates.
enum class eth_lag_intf_member_lacp_mode_t : std::uint8_t { none = 0, on = 1, active = 2, passive = 3 };
constexpr auto last_value(eth_lag_intf_member_lacp_mode_t) { return eth_lag_intf_member_lacp_mode_t::passive; }

/// How soon a member takes its peer for lost.
enum class eth_lag_intf_member_lacp_timeout_t : std::uint8_t { none = 0, slow = 1, fast = 2 };
constexpr auto last_value(eth_lag_intf_member_lacp_timeout_t) { return eth_lag_intf_member_lacp_timeout_t::fast; }

/// A link aggregation group as it is.
class eth_lag_intf_t {
 public:
   intf_id_t intf() const { return intf_; }
   void intf_is(intf_id_t intf) { intf_ = intf; }
   /// The sum of the active members' speeds, in bit/s.
   std::uint64_t speed() const { return speed_; }
   void speed_is(std::uint64_t speed) { speed_ = speed; }
   /// How many active members the group needs to be up; 0 needs one, like 1.
   std::uint32_t min_links() const { return min_links_; }
   void min_links_is(std::uint32_t min_links) { min_links_ = min_links; }
   eth_lag_intf_fallback_type_t fallback_type() const { return fallback_type_; }
   void fallback_type_is(eth_lag_intf_fallback_type_t type) { fallback_type_ = type; }
   /// Seconds without LACP until the group falls back.
   unsigned short fallback_timeout() const { return fallback_timeout_; }
   void fallback_timeout_is(unsigned short timeout) { fallback_timeout_ = timeout; }
   unsigned short fallback_timeout_default() const { return fallback_timeout_default_; }
   void fallback_timeout_default_is(unsigned short timeout) { fallback_timeout_default_ = timeout; }

   auto operator<=>(eth_lag_intf_t const&) const = default;
   static constexpr auto attributes() {
      using lag = eth_lag_intf_t;
      return std::tuple{attribute{"intf", &lag::intf_},
                        attribute{"speed", &lag::speed_},
                        attribute{"min_links", &lag::min_links_},
                        attribute{"fallback_type", &lag::fallback_type_},
                        attribute{"fallback_timeout", &lag::fallback_timeout_},
                        attribute{"fallback_timeout_default", &lag::fallback_timeout_default_}};
   }

 private:
   intf_id_t intf_;
   std::uint64_t speed_ = 0;
   std::uint32_t min_links_ = 0;
   eth_lag_intf_fallback_type_t fallback_type_ = eth_lag_intf_fallback_type_t::unset;
   unsigned short fallback_timeout_ = 0;
   unsigned short fallback_timeout_default_ = 0;
};

/// An interface's part in a LAG; the default is that of an interface in none.
class eth_lag_intf_membership_t {
 public:
   intf_id_t eth_lag_intf_id() const { return eth_lag_intf_id_; }
   void eth_lag_intf_id_is(intf_id_t lag) { eth_lag_intf_id_ = lag; }
   /// Whether traffic of the LAG leaves by the member.
   bool active() const { return active_; }
   void active_is(bool active) { active_ = active; }
   /// Why the member is active or not.
   std::string const& reason() const { return reason_; }
   void reason_is(std::string reason) { reason_ = std::move(reason); }
   /// When the member joined or, if that was later, last became active or ceased to be; seconds since the epoch.
   double member_time() const { return member_time_; }
   void member_time_is(double time) { member_time_ = time; }
   eth_lag_intf_member_lacp_mode_t mode() const { return mode_; }
   void mode_is(eth_lag_intf_member_lacp_mode_t mode) { mode_ = mode; }

   auto operator<=>(eth_lag_intf_membership_t const&) const = default;
   static constexpr auto attributes() {
      using membership = eth_lag_intf_membership_t;
      return std::tuple{attribute{"eth_lag_intf_id", &membership::eth_lag_intf_id_},
                        attribute{"active", &membership::active_}, attribute{"reason", &membership::reason_},
                        attribute{"member_time", &membership::member_time_}, attribute{"mode", &membership::mode_}};
   }

 private:
   intf_id_t eth_lag_intf_id_;
   bool active_ = false;
   std::string reason_;
   double member_time_ = 0;
   eth_lag_intf_member_lacp_mode_t mode_ = eth_lag_intf_member_lacp_mode_t::none;
};

using eth_lag_intf_iter_impl = iter_impl<intf_id_t>;
using eth_lag_intf_iter_t = iter_base<intf_id_t, eth_lag_intf_iter_impl>;
using eth_lag_intf_member_iter_impl = iter_impl<intf_id_t>;
using eth_lag_intf_member_iter_t = iter_base<intf_id_t, eth_lag_intf_member_iter_impl>;

class eth_lag_intf_mgr;

/// Receives the events of LAGs and their members, on the main loop, for the LAGs that it watches.
class eth_lag_intf_handler : public base_handler<eth_lag_intf_mgr, eth_lag_intf_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_eth_lag_intfs(bool on);

   /// The LAG came into being, with no member, or went, with all of them; the members' events come first then.
   virtual void on_eth_lag_intf_create(intf_id_t /*lag*/) {}
   virtual void on_eth_lag_intf_delete(intf_id_t /*lag*/) {}
   /// An interface that changes its LAG leaves the one before it joins the other.
   virtual void on_lag_member_set(intf_id_t /*lag*/, intf_id_t /*member*/) {}
   virtual void on_lag_member_del(intf_id_t /*lag*/, intf_id_t /*member*/) {}
   /// In bit/s. The deletion of a LAG changes no speed.
   virtual void on_lag_intf_speed(intf_id_t /*lag*/, std::uint64_t /*speed*/) {}
};

/// Link aggregation groups and their members. A LAG and the Port-Channel interface of its name are one object: creating
/// or deleting either is doing so to both. It is up while it is enabled and max(1, min_links) of its members are
/// active; intf_mgr tells that. A member is active while its interface is up.
///
/// Thread-safe: each operation is atomic, and on any error nothing has changed. An attribute of an unknown LAG, or of
/// an interface in no LAG, reads as its default; setting one throws configuration_error.
class eth_lag_intf_mgr : public base_mgr<eth_lag_intf_handler, intf_id_t> {
 public:
   virtual ~eth_lag_intf_mgr() = default;

   virtual eth_lag_intf_iter_t eth_lag_intf_iter() const = 0;
   virtual bool exists(intf_id_t lag) const = 0;
   /// The members of the LAG; those of an unknown one are none.
   virtual eth_lag_intf_member_iter_t eth_lag_intf_member_iter(intf_id_t lag) const = 0;
   /// Creates the LAG; one that exists is left as it is. Throws invalid_argument_error for an interface that is no
   /// Port-Channel.
   virtual void eth_lag_intf_is(intf_id_t lag) = 0;
   /// Throws invalid_argument_error for an unknown LAG.
   virtual eth_lag_intf_t eth_lag_intf(intf_id_t lag) const = 0;
   /// Deletes the LAG with all memberships in it; one that is absent is no error.
   virtual void eth_lag_intf_del(intf_id_t lag) = 0;

   // The attributes of a LAG: its speed in bit/s, the active members that it needs, and what it does while its peer
   // speaks no LACP, after so many seconds.
   virtual std::uint64_t speed(intf_id_t lag) const = 0;
   virtual std::uint32_t min_links(intf_id_t lag) const = 0;
   virtual void min_links_is(intf_id_t lag, std::uint32_t min_links) = 0;
   virtual eth_lag_intf_fallback_type_t fallback_type(intf_id_t lag) const = 0;
   virtual void fallback_type_is(intf_id_t lag, eth_lag_intf_fallback_type_t type) = 0;
   virtual unsigned short fallback_timeout(intf_id_t lag) const = 0;
   virtual void fallback_timeout_is(intf_id_t lag, unsigned short timeout) = 0;
   virtual unsigned short fallback_timeout_default(intf_id_t lag) const = 0;

   /// Makes the interface a member of the LAG, out of any other that it is in; of its own one it takes the mode alone.
   /// Throws invalid_argument_error for an interface that is no Ethernet, configuration_error for an unknown interface
   /// or LAG.
   virtual void membership_set(intf_id_t intf, intf_id_t lag, eth_lag_intf_member_lacp_mode_t mode) = 0;
   /// An interface in no LAG is no error.
   virtual void membership_del(intf_id_t intf) = 0;
   /// The LAG that the interface is in; the empty id for none.
   virtual intf_id_t membership(intf_id_t intf) const = 0;
   /// All of a membership at once; the default for an interface in no LAG.
   virtual eth_lag_intf_membership_t membership_status(intf_id_t intf) const = 0;

   // The attributes of a member; they end with the membership. Its time is in seconds since the epoch.
   virtual unsigned short member_priority(intf_id_t intf) const = 0;
   virtual void member_priority_is(intf_id_t intf, unsigned short priority) = 0;
   virtual eth_lag_intf_member_lacp_mode_t member_mode(intf_id_t intf) const = 0;
   virtual void member_mode_is(intf_id_t intf, eth_lag_intf_member_lacp_mode_t mode) = 0;
   virtual eth_lag_intf_member_lacp_timeout_t member_timeout(intf_id_t intf) const = 0;
   virtual void member_timeout_is(intf_id_t intf, eth_lag_intf_member_lacp_timeout_t timeout) = 0;
   virtual bool member_active(intf_id_t intf) const = 0;
   virtual double member_time(intf_id_t intf) const = 0;
   virtual std::string member_reason(intf_id_t intf) const = 0;
};

inline void eth_lag_intf_handler::watch_all_eth_lag_intfs(bool on) { get_mgr()->watch_all(this, on); }

}  // namespace velm
