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
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

enum class macsec_cipher_suite_t : std::uint8_t {
   none = 0,
   gcm_aes_128 = 1,
   gcm_aes_256 = 2,
   gcm_aes_xpn_128 = 3,
   gcm_aes_xpn_256 = 4,
};
constexpr auto last_value(macsec_cipher_suite_t) { return macsec_cipher_suite_t::gcm_aes_xpn_256; }

/// Which LLDP frames pass unencrypted.
enum class macsec_bypass_t : std::uint8_t { none = 0, authorized = 1, unauthorized = 2 };
constexpr auto last_value(macsec_bypass_t) { return macsec_bypass_t::unauthorized; }

/// The treatment of traffic while an interface is not secured.
enum class macsec_profile_traffic_policy_t : std::uint8_t { none = 0, drop = 1, forward = 2, forward_by_eapol = 3 };
constexpr auto last_value(macsec_profile_traffic_policy_t) { return macsec_profile_traffic_policy_t::forward_by_eapol; }

/// Which key secures an interface. What the hardware reports is kept as it is, also beyond these.
enum class macsec_intf_key_status_t : std::uint8_t {
   unknown = 0,
   in_progress = 1,
   primary = 2,
   fallback = 3,
   failed = 4,
   unsecured = 5,
};
constexpr auto last_value(macsec_intf_key_status_t) { return macsec_intf_key_status_t::unsecured; }

/// An interface's treatment of its traffic. A number that the hardware reports is kept as it is, also beyond these.
enum class macsec_intf_traffic_status_t : std::uint8_t { unknown = 0, forwarding = 1, blocked = 2 };
constexpr auto last_value(macsec_intf_traffic_status_t) { return macsec_intf_traffic_status_t::blocked; }

/// A connectivity association key and its name. The key itself is in no text that the switch shows.
class macsec_key_t {
 public:
   std::string const& cak() const { return cak_; }
   void cak_is(std::string cak) { cak_ = std::move(cak); }
   std::string const& ckn() const { return ckn_; }
   void ckn_is(std::string ckn) { ckn_ = std::move(ckn); }
   /// Whether the key is given in the switch's obscured form.
   bool encoded() const { return encoded_; }
   void encoded_is(bool encoded) { encoded_ = encoded; }

   auto operator<=>(macsec_key_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{secret_attribute{"cak", &macsec_key_t::cak_}, attribute{"ckn", &macsec_key_t::ckn_},
                        attribute{"encoded", &macsec_key_t::encoded_}};
   }

 private:
   std::string cak_;
   std::string ckn_;
   bool encoded_ = false;
};

/// How interfaces that use the profile are secured.
class macsec_profile_t {
 public:
   std::string const& name() const { return name_; }
   void name_is(std::string name) { name_ = std::move(name); }
   macsec_key_t const& primary_key() const { return primary_key_; }
   void primary_key_is(macsec_key_t key) { primary_key_ = std::move(key); }
   macsec_key_t const& fallback_key() const { return fallback_key_; }
   void fallback_key_is(macsec_key_t key) { fallback_key_ = std::move(key); }
   unsigned char key_server_priority() const { return key_server_priority_; }
   void key_server_priority_is(unsigned char priority) { key_server_priority_ = priority; }
   /// Seconds between two session keys; 0 for no such limit.
   std::uint32_t rekey_period() const { return rekey_period_; }
   void rekey_period_is(std::uint32_t seconds) { rekey_period_ = seconds; }
   /// Seconds until a silent peer is taken for lost.
   std::uint32_t mka_life_time() const { return mka_life_time_; }
   void mka_life_time_is(std::uint32_t seconds) { mka_life_time_ = seconds; }
   macsec_cipher_suite_t cipher() const { return cipher_; }
   void cipher_is(macsec_cipher_suite_t cipher) { cipher_ = cipher; }
   /// Whether the keys come from 802.1X rather than from the profile.
   bool dot1x() const { return dot1x_; }
   void dot1x_is(bool dot1x) { dot1x_ = dot1x; }
   bool include_sci() const { return include_sci_; }
   void include_sci_is(bool include) { include_sci_ = include; }
   macsec_bypass_t lldp_bypass_level() const { return lldp_bypass_level_; }
   void lldp_bypass_level_is(macsec_bypass_t level) { lldp_bypass_level_ = level; }
   macsec_profile_traffic_policy_t traffic_policy() const { return traffic_policy_; }
   void traffic_policy_is(macsec_profile_traffic_policy_t policy) { traffic_policy_ = policy; }
   bool replay_protection() const { return replay_protection_; }
   void replay_protection_is(bool on) { replay_protection_ = on; }
   /// How many packets late a packet may be.
   std::uint32_t replay_protection_window() const { return replay_protection_window_; }
   void replay_protection_window_is(std::uint32_t packets) { replay_protection_window_ = packets; }
   bool key_retirement_immediate() const { return key_retirement_immediate_; }
   void key_retirement_immediate_is(bool immediate) { key_retirement_immediate_ = immediate; }
   /// The interfaces that use the profile, as of the moment when it was read; of no meaning in a profile that is set.
   std::forward_list<intf_id_t> const& intfs() const { return intfs_; }
   void intfs_is(std::forward_list<intf_id_t> intfs) { intfs_ = std::move(intfs); }

   auto operator<=>(macsec_profile_t const&) const = default;
   static constexpr auto attributes() {
      using profile = macsec_profile_t;
      return std::tuple{attribute{"name", &profile::name_},
                        attribute{"primary_key", &profile::primary_key_},
                        attribute{"fallback_key", &profile::fallback_key_},
                        attribute{"key_server_priority", &profile::key_server_priority_},
                        attribute{"rekey_period", &profile::rekey_period_},
                        attribute{"mka_life_time", &profile::mka_life_time_},
                        attribute{"cipher", &profile::cipher_},
                        attribute{"dot1x", &profile::dot1x_},
                        attribute{"include_sci", &profile::include_sci_},
                        attribute{"lldp_bypass_level", &profile::lldp_bypass_level_},
                        attribute{"traffic_policy", &profile::traffic_policy_},
                        attribute{"replay_protection", &profile::replay_protection_},
                        attribute{"replay_protection_window", &profile::replay_protection_window_},
                        attribute{"key_retirement_immediate", &profile::key_retirement_immediate_},
                        attribute{"intfs", &profile::intfs_}};
   }

 private:
   std::string name_;
   macsec_key_t primary_key_;
   macsec_key_t fallback_key_;
   unsigned char key_server_priority_ = 16;
   std::uint32_t rekey_period_ = 0;
   std::uint32_t mka_life_time_ = 6;
   macsec_cipher_suite_t cipher_ = macsec_cipher_suite_t::gcm_aes_xpn_128;
   bool dot1x_ = false;
   bool include_sci_ = false;
   macsec_bypass_t lldp_bypass_level_ = macsec_bypass_t::none;
   macsec_profile_traffic_policy_t traffic_policy_ = macsec_profile_traffic_policy_t::none;
   bool replay_protection_ = false;
   std::uint32_t replay_protection_window_ = 0;
   bool key_retirement_immediate_ = false;
   std::forward_list<intf_id_t> intfs_;
};

/// How secure an interface is, as its hardware reports it.
class macsec_intf_status_t {
 public:
   macsec_intf_status_t() = default;
   macsec_intf_status_t(macsec_intf_key_status_t key_status, macsec_intf_traffic_status_t traffic_status)
      : key_status_(key_status), traffic_status_(traffic_status) {}

   macsec_intf_key_status_t key_status() const { return key_status_; }
   macsec_intf_traffic_status_t traffic_status() const { return traffic_status_; }

   auto operator<=>(macsec_intf_status_t const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"key_status", &macsec_intf_status_t::key_status_},
                        attribute{"traffic_status", &macsec_intf_status_t::traffic_status_}};
   }

 private:
   macsec_intf_key_status_t key_status_ = macsec_intf_key_status_t::unknown;
   macsec_intf_traffic_status_t traffic_status_ = macsec_intf_traffic_status_t::unknown;
};

/// Secured traffic of an interface since it exists.
class macsec_intf_counters_t {
 public:
   std::uint64_t out_pkts_encrypted() const { return out_pkts_encrypted_; }
   std::uint64_t out_octets_encrypted() const { return out_octets_encrypted_; }
   std::uint64_t in_pkts_decrypted() const { return in_pkts_decrypted_; }
   std::uint64_t in_octets_decrypted() const { return in_octets_decrypted_; }
   std::uint64_t in_pkts_not_valid() const { return in_pkts_not_valid_; }

   auto operator<=>(macsec_intf_counters_t const&) const = default;
   static constexpr auto attributes() {
      using c = macsec_intf_counters_t;
      return std::tuple{attribute{"out_pkts_encrypted", &c::out_pkts_encrypted_},
                        attribute{"out_octets_encrypted", &c::out_octets_encrypted_},
                        attribute{"in_pkts_decrypted", &c::in_pkts_decrypted_},
                        attribute{"in_octets_decrypted", &c::in_octets_decrypted_},
                        attribute{"in_pkts_not_valid", &c::in_pkts_not_valid_}};
   }

 private:
   std::uint64_t out_pkts_encrypted_ = 0;
   std::uint64_t out_octets_encrypted_ = 0;
   std::uint64_t in_pkts_decrypted_ = 0;
   std::uint64_t in_octets_decrypted_ = 0;
   std::uint64_t in_pkts_not_valid_ = 0;
};

using macsec_profile_iter_impl = iter_impl<std::string>;
using macsec_profile_iter_t = iter_base<std::string, macsec_profile_iter_impl>;
using macsec_intf_status_iter_impl = iter_impl<intf_id_t>;
using macsec_intf_status_iter_t = iter_base<intf_id_t, macsec_intf_status_iter_impl>;

class macsec_mgr;

/// Receives the events of Macsec, on the main loop, for the interfaces that it watches.
class macsec_handler : public base_handler<macsec_mgr, macsec_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_intfs(bool on);
   void watch_intf(intf_id_t intf, bool on);

   /// The status reads otherwise than before; one that ends reads as the default.
   virtual void on_intf_status(intf_id_t /*intf*/, macsec_intf_status_t const& /*status*/) {}
};

/// Macsec profiles, by name, and the interfaces that use them. Thread-safe: each operation is atomic, and on any error
/// nothing has changed.
class macsec_mgr : public base_mgr<macsec_handler, intf_id_t> {
 public:
   virtual ~macsec_mgr() = default;

   /// The names of the profiles.
   virtual macsec_profile_iter_t macsec_profile_iter() const = 0;
   virtual bool exists(std::string const& profile) const = 0;
   /// Throws invalid_argument_error for an unknown profile.
   virtual macsec_profile_t profile(std::string const& name) const = 0;
   /// Creates the profile, or replaces the one of its name for all interfaces that use it. Throws
   /// invalid_argument_error for an empty name.
   virtual void profile_set(macsec_profile_t const& profile) = 0;
   /// Deletes the profile and takes it from the interfaces that use it; one that is absent is no error.
   virtual void profile_del(std::string const& name) = 0;

   /// The profile that the interface uses; empty for none.
   virtual std::string intf_profile(intf_id_t intf) const = 0;
   /// Makes the interface use the profile; the empty name takes the present one away. Throws configuration_error for an
   /// unknown interface or profile, and for an interface that is not capable.
   virtual void intf_profile_is(intf_id_t intf, std::string const& profile) = 0;
   /// Whether the interface can be secured; false for an unknown one.
   virtual bool macsec_capable(intf_id_t intf) const = 0;

   /// The interfaces that have a status: those that use a profile.
   virtual macsec_intf_status_iter_t macsec_intf_status_iter() const = 0;
   /// The default for an interface that has none.
   virtual macsec_intf_status_t intf_status(intf_id_t intf) const = 0;
   /// All zero for an interface that has counted nothing, or is unknown.
   virtual macsec_intf_counters_t intf_counters(intf_id_t intf) const = 0;
};

inline void macsec_handler::watch_all_intfs(bool on) { get_mgr()->watch_all(this, on); }
inline void macsec_handler::watch_intf(intf_id_t intf, bool on) { get_mgr()->watch(this, intf, on); }

}  // namespace velm
