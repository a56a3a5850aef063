#pragma once

#include <compare>
#include <cstdint>
#include <forward_list>
#include <string>
#include <tuple>
#include <utility>

#include "platform/velm/attribute.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/iter.h"
#include "platform/velm/mpls.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// State of a session. Other numbers may occur and are passed on as they are; unknown is also the state of a session
/// that has not reported yet, and of one that does not exist.
enum class bfd_session_status_t : std::uint32_t { unknown = 0, down = 1, init = 2, up = 3, admin_down = 4 };
constexpr bool is_valid(bfd_session_status_t) { return true; }

/// Identifies an sBFD echo session: where its packets leave, and what they look like.
class sbfd_echo_session_key_t {
 public:
   sbfd_echo_session_key_t() = default;
   sbfd_echo_session_key_t(ip_addr_t nexthop, intf_id_t intf, std::forward_list<mpls_label_t> labels,
                           unsigned char ip_dscp, unsigned char mpls_exp)
      : nexthop_(nexthop), intf_(intf), labels_(std::move(labels)), ip_dscp_(ip_dscp), mpls_exp_(mpls_exp) {}

   ip_addr_t const& nexthop() const { return nexthop_; }
   intf_id_t const& nexthop_intf() const { return intf_; }
   /// Outermost first.
   std::forward_list<mpls_label_t> const& labels() const { return labels_; }
   unsigned char ip_dscp() const { return ip_dscp_; }
   unsigned char mpls_exp() const { return mpls_exp_; }

   /// Equal keys have equal hashes within one process; another run of the program may hash differently.
   std::size_t hash() const;
   /// "Ethernet1 10.0.0.1 labels 16,17 dscp 46 exp 5"; without labels "labels -".
   std::string to_string() const;

   auto operator<=>(sbfd_echo_session_key_t const&) const = default;
   static constexpr auto attributes() {
      using key = sbfd_echo_session_key_t;
      return std::tuple{attribute{"nexthop", &key::nexthop_}, attribute{"nexthop_intf", &key::intf_},
                        attribute{"labels", &key::labels_}, attribute{"ip_dscp", &key::ip_dscp_},
                        attribute{"mpls_exp", &key::mpls_exp_}};
   }

 private:
   ip_addr_t nexthop_;
   intf_id_t intf_;
   std::forward_list<mpls_label_t> labels_;
   unsigned char ip_dscp_ = 0;
   unsigned char mpls_exp_ = 0;
};

/// Round-trip times of a session, in the switch's own unit: the last one, bounds and mean over the session's life, then
/// bounds and mean of what was measured since the report before.
class sbfd_echo_session_rtt_stats_t {
 public:
   sbfd_echo_session_rtt_stats_t(std::uint32_t last_rtt, std::uint32_t min_rtt, std::uint32_t avg_rtt,
                                 std::uint32_t max_rtt, std::uint32_t snapshot_min_rtt, std::uint32_t snapshot_avg_rtt,
                                 std::uint32_t snapshot_max_rtt)
      : last_rtt_(last_rtt),
        min_rtt_(min_rtt),
        avg_rtt_(avg_rtt),
        max_rtt_(max_rtt),
        snapshot_min_rtt_(snapshot_min_rtt),
        snapshot_avg_rtt_(snapshot_avg_rtt),
        snapshot_max_rtt_(snapshot_max_rtt) {}

   std::uint32_t last_rtt() const { return last_rtt_; }
   std::uint32_t min_rtt() const { return min_rtt_; }
   std::uint32_t avg_rtt() const { return avg_rtt_; }
   std::uint32_t max_rtt() const { return max_rtt_; }
   std::uint32_t snapshot_min_rtt() const { return snapshot_min_rtt_; }
   std::uint32_t snapshot_avg_rtt() const { return snapshot_avg_rtt_; }
   std::uint32_t snapshot_max_rtt() const { return snapshot_max_rtt_; }
   /// "last 5 min 3 avg 5 max 9 snapshot min 4 avg 5 max 6".
   std::string to_string() const;

   auto operator<=>(sbfd_echo_session_rtt_stats_t const&) const = default;
   static constexpr auto attributes() {
      using stats = sbfd_echo_session_rtt_stats_t;
      return std::tuple{attribute{"last_rtt", &stats::last_rtt_},
                        attribute{"min_rtt", &stats::min_rtt_},
                        attribute{"avg_rtt", &stats::avg_rtt_},
                        attribute{"max_rtt", &stats::max_rtt_},
                        attribute{"snapshot_min_rtt", &stats::snapshot_min_rtt_},
                        attribute{"snapshot_avg_rtt", &stats::snapshot_avg_rtt_},
                        attribute{"snapshot_max_rtt", &stats::snapshot_max_rtt_}};
   }

 private:
   std::uint32_t last_rtt_;
   std::uint32_t min_rtt_;
   std::uint32_t avg_rtt_;
   std::uint32_t max_rtt_;
   std::uint32_t snapshot_min_rtt_;
   std::uint32_t snapshot_avg_rtt_;
   std::uint32_t snapshot_max_rtt_;
};

/// How often a session sends, in milliseconds, and how many of its packets must stay out in a row before it is down.
class sbfd_interval_t {
 public:
   constexpr sbfd_interval_t(unsigned short min_tx, unsigned char multiplier)
      : min_tx_(min_tx), multiplier_(multiplier) {}

   constexpr unsigned short min_tx() const { return min_tx_; }
   constexpr unsigned char multiplier() const { return multiplier_; }

   auto operator<=>(sbfd_interval_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"min_tx", &sbfd_interval_t::min_tx_},
                        attribute{"multiplier", &sbfd_interval_t::multiplier_}};
   }

 private:
   unsigned short min_tx_;
   unsigned char multiplier_;
};

/// Identifies a plain BFD session, one with a peer that answers for itself.
class bfd_session_key_t {
 public:
   bfd_session_key_t() = default;
   bfd_session_key_t(ip_addr_t const& ip_addr, std::string vrf_name, intf_id_t intf)
      : ip_addr_(ip_addr), vrf_name_(std::move(vrf_name)), intf_(intf) {}

   ip_addr_t const& ip_addr() const { return ip_addr_; }
   std::string const& vrf_name() const { return vrf_name_; }
   /// Empty for a session over several hops.
   intf_id_t const& intf() const { return intf_; }
   /// "10.0.0.1 vrf red Ethernet1", without what is empty.
   std::string to_string() const;

   auto operator<=>(bfd_session_key_t const&) const = default;
   static constexpr auto attributes() {
      using key = bfd_session_key_t;
      return std::tuple{attribute{"ip_addr", &key::ip_addr_}, attribute{"vrf_name", &key::vrf_name_},
                        attribute{"intf", &key::intf_}};
   }

 private:
   ip_addr_t ip_addr_;
   std::string vrf_name_;
   intf_id_t intf_;
};

using sbfd_echo_session_iter_impl = iter_impl<sbfd_echo_session_key_t>;
using sbfd_echo_session_iter_t = iter_base<sbfd_echo_session_key_t, sbfd_echo_session_iter_impl>;

class bfd_session_mgr;

/// Receives the events of BFD sessions, on the main loop.
class bfd_session_handler : public base_handler<bfd_session_mgr, bfd_session_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_sbfd_echo_sessions(bool on);

   // The events of plain sessions.
   virtual void on_bfd_session_set(bfd_session_key_t const& /*key*/) {}
   virtual void on_bfd_session_del(bfd_session_key_t const& /*key*/) {}
   virtual void on_bfd_session_status(bfd_session_key_t const& /*key*/, bfd_session_status_t /*status*/) {}

   /// The session was created; another interval or RTT switch raises nothing.
   virtual void on_sbfd_echo_session_set(sbfd_echo_session_key_t const& /*key*/) {}
   /// The session was deleted; a status or RTT that was raised before may still come before this.
   virtual void on_sbfd_echo_session_del(sbfd_echo_session_key_t const& /*key*/) {}
   /// The status is another than before, or the first one.
   virtual void on_sbfd_echo_session_status(sbfd_echo_session_key_t const& /*key*/, bfd_session_status_t /*status*/) {}
   /// About once a second for every session that is up and was asked for its RTT.
   virtual void on_sbfd_echo_session_rtt(sbfd_echo_session_key_t const& /*key*/,
                                         sbfd_echo_session_rtt_stats_t const& /*stats*/) {}
};

/// The BFD sessions of the switch: sBFD echo sessions, which the agent makes; plain ones belong to the switch's own
/// protocols. Thread-safe: each operation is atomic.
class bfd_session_mgr : public base_mgr<bfd_session_handler, bfd_session_key_t> {
 public:
   virtual ~bfd_session_mgr() = default;

   virtual sbfd_echo_session_iter_t sbfd_echo_session_iter() const = 0;
   /// Creates the session with the default interval and without RTT; one that exists stays as it is. Throws
   /// invalid_argument_error for a key without a nexthop.
   virtual void sbfd_echo_session_set(sbfd_echo_session_key_t const& key) = 0;
   /// Deletes the session; one that is absent is no error. Its status is unknown from now on.
   virtual void sbfd_echo_session_del(sbfd_echo_session_key_t const& key) = 0;
   /// The interval of a session that asks for none.
   virtual sbfd_interval_t sbfd_echo_session_default_interval() const = 0;
   /// A 0 in it stands for that part of the default interval. Throws configuration_error for an unknown session.
   virtual void sbfd_echo_session_interval_is(sbfd_echo_session_key_t const& key, sbfd_interval_t interval) = 0;
   /// Throws configuration_error for an unknown session.
   virtual void sbfd_echo_session_rtt_enabled_is(sbfd_echo_session_key_t const& key, bool enabled) = 0;
   /// The status that the session reported last; unknown for a session that does not exist.
   virtual bfd_session_status_t sbfd_echo_session_status(sbfd_echo_session_key_t const& key) const = 0;
};

inline void bfd_session_handler::watch_all_sbfd_echo_sessions(bool on) { get_mgr()->watch_all(this, on); }

}  // namespace velm

template <>
struct std::hash<velm::sbfd_echo_session_key_t> {
   std::size_t operator()(velm::sbfd_echo_session_key_t const& key) const noexcept { return key.hash(); }
};
