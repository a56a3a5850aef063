#pragma once

#include <cstdint>
#include <string>
#include <tuple>

#include "platform/velm/attribute.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

enum class oper_status_t : std::uint8_t { unknown = 0, up = 1, down = 2 };
constexpr auto last_value(oper_status_t) { return oper_status_t::down; }

/// The counters of an interface since it exists. Its manager fills it through attributes().
class intf_counters_t {
 public:
   std::uint64_t out_ucast_pkts() const { return out_ucast_pkts_; }
   std::uint64_t out_multicast_pkts() const { return out_multicast_pkts_; }
   std::uint64_t out_broadcast_pkts() const { return out_broadcast_pkts_; }
   std::uint64_t in_ucast_pkts() const { return in_ucast_pkts_; }
   std::uint64_t in_multicast_pkts() const { return in_multicast_pkts_; }
   std::uint64_t in_broadcast_pkts() const { return in_broadcast_pkts_; }
   std::uint64_t out_octets() const { return out_octets_; }
   std::uint64_t in_octets() const { return in_octets_; }
   std::uint64_t out_discards() const { return out_discards_; }
   std::uint64_t out_errors() const { return out_errors_; }
   std::uint64_t in_discards() const { return in_discards_; }
   std::uint64_t in_errors() const { return in_errors_; }
   /// When the counters were read, in seconds since the epoch.
   double sample_time() const { return sample_time_; }

   auto operator<=>(intf_counters_t const&) const = default;
   static constexpr auto attributes() {
      using c = intf_counters_t;
      return std::tuple{attribute{"out_ucast_pkts", &c::out_ucast_pkts_},
                        attribute{"out_multicast_pkts", &c::out_multicast_pkts_},
                        attribute{"out_broadcast_pkts", &c::out_broadcast_pkts_},
                        attribute{"in_ucast_pkts", &c::in_ucast_pkts_},
                        attribute{"in_multicast_pkts", &c::in_multicast_pkts_},
                        attribute{"in_broadcast_pkts", &c::in_broadcast_pkts_},
                        attribute{"out_octets", &c::out_octets_},
                        attribute{"in_octets", &c::in_octets_},
                        attribute{"out_discards", &c::out_discards_},
                        attribute{"out_errors", &c::out_errors_},
                        attribute{"in_discards", &c::in_discards_},
                        attribute{"in_errors", &c::in_errors_},
                        attribute{"sample_time", &c::sample_time_}};
   }

 private:
   std::uint64_t out_ucast_pkts_ = 0;
   std::uint64_t out_multicast_pkts_ = 0;
   std::uint64_t out_broadcast_pkts_ = 0;
   std::uint64_t in_ucast_pkts_ = 0;
   std::uint64_t in_multicast_pkts_ = 0;
   std::uint64_t in_broadcast_pkts_ = 0;
   std::uint64_t out_octets_ = 0;
   std::uint64_t in_octets_ = 0;
   std::uint64_t out_discards_ = 0;
   std::uint64_t out_errors_ = 0;
   std::uint64_t in_discards_ = 0;
   std::uint64_t in_errors_ = 0;
   double sample_time_ = 0;
};

/// The traffic of an interface, per second. Its manager fills it through attributes().
class intf_traffic_rates_t {
 public:
   double out_pkts_rate() const { return out_pkts_rate_; }
   double in_pkts_rate() const { return in_pkts_rate_; }
   double out_bits_rate() const { return out_bits_rate_; }
   double in_bits_rate() const { return in_bits_rate_; }
   /// When the rates were taken, in seconds since the epoch.
   double sample_time() const { return sample_time_; }

   auto operator<=>(intf_traffic_rates_t const&) const = default;
   static constexpr auto attributes() {
      using r = intf_traffic_rates_t;
      return std::tuple{attribute{"out_pkts_rate", &r::out_pkts_rate_}, attribute{"in_pkts_rate", &r::in_pkts_rate_},
                        attribute{"out_bits_rate", &r::out_bits_rate_}, attribute{"in_bits_rate", &r::in_bits_rate_},
                        attribute{"sample_time", &r::sample_time_}};
   }

 private:
   double out_pkts_rate_ = 0;
   double in_pkts_rate_ = 0;
   double out_bits_rate_ = 0;
   double in_bits_rate_ = 0;
   double sample_time_ = 0;
};

using intf_iter_impl = iter_impl<intf_id_t>;
using intf_iter_t = iter_base<intf_id_t, intf_iter_impl>;

class intf_mgr;

/// Receives the events of interfaces, on the main loop, for the interfaces that it watches.
class intf_handler : public base_handler<intf_mgr, intf_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_intfs(bool on);
   void watch_intf(intf_id_t intf, bool on);

   /// Where the interface comes up with it, the event of that comes next; its other states raise none.
   virtual void on_intf_create(intf_id_t /*intf*/) {}
   /// Comes after the events of all that went with the interface.
   virtual void on_intf_delete(intf_id_t /*intf*/) {}
   // The new value of what has changed.
   virtual void on_oper_status(intf_id_t /*intf*/, oper_status_t /*status*/) {}
   virtual void on_admin_enabled(intf_id_t /*intf*/, bool /*enabled*/) {}
   virtual void on_intf_description(intf_id_t /*intf*/, std::string const& /*description*/) {}
};

/// The interfaces of the switch. Thread-safe: each operation is atomic. A change of the admin state raises its event,
/// then that of the oper state if that changed too; what is set to what it was raises nothing. An attribute of an
/// unknown interface reads as its default; setting one throws configuration_error.
class intf_mgr : public base_mgr<intf_handler, intf_id_t> {
 public:
   virtual ~intf_mgr() = default;

   virtual intf_iter_t intf_iter() const = 0;
   virtual bool exists(intf_id_t intf) const = 0;
   /// The name of the interface in the kernel, and the interface of a kernel name; empty if it does not exist.
   virtual std::string kernel_intf_name(intf_id_t intf) const = 0;
   virtual intf_id_t velm_intf_name(std::string const& kernel_name) const = 0;
   virtual bool admin_enabled(intf_id_t intf) const = 0;
   virtual void admin_enabled_is(intf_id_t intf, bool enabled) = 0;
   virtual std::string description(intf_id_t intf) const = 0;
   virtual void description_is(intf_id_t intf, std::string const& description) = 0;
   /// Down while the interface is disabled, else the state of its link; a Port-Channel is also down while it has too
   /// few active members.
   virtual oper_status_t oper_status(intf_id_t intf) const = 0;
};

/// Counters and rates of interfaces; those of an unknown interface are zero. Thread-safe.
class intf_counter_mgr {
 public:
   virtual ~intf_counter_mgr() = default;
   virtual intf_counters_t intf_counters(intf_id_t intf) const = 0;
   virtual intf_traffic_rates_t intf_traffic_rates(intf_id_t intf) const = 0;
};

inline void intf_handler::watch_all_intfs(bool on) { get_mgr()->watch_all(this, on); }
inline void intf_handler::watch_intf(intf_id_t intf, bool on) { get_mgr()->watch(this, intf, on); }

}  // namespace velm
