#pragma once

#include <compare>
#include <cstdint>
#include <forward_list>
#include <map>
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

/// The encapsulation that a group puts around the packet.
enum class nexthop_group_encap_t : std::uint8_t {
   none = 0,
   ip_in_ip = 1,
   gre = 2,
   mpls = 3,
   mpls_over_gre = 4,
   mpls_over_udp = 5,
};
constexpr auto last_value(nexthop_group_encap_t) { return nexthop_group_encap_t::mpls_over_udp; }

/// Where the key of a GRE tunnel comes from.
enum class nexthop_group_gre_key_t : std::uint8_t { none = 0, ingress_intf = 1 };
constexpr auto last_value(nexthop_group_gre_key_t) { return nexthop_group_gre_key_t::ingress_intf; }

/// The MPLS operation of an entry.
class nexthop_group_mpls_action_t {
 public:
   nexthop_group_mpls_action_t() = default;
   explicit nexthop_group_mpls_action_t(mpls_action_t action) : action_type_(action) {}

   mpls_action_t action_type() const { return action_type_; }
   void action_type_is(mpls_action_t action) { action_type_ = action; }
   /// Outermost label first.
   std::forward_list<mpls_label_t> const& label_stack() const { return label_stack_; }
   void label_stack_is(std::forward_list<mpls_label_t> const& labels) { label_stack_ = labels; }

   auto operator<=>(nexthop_group_mpls_action_t const&) const = default;
   static constexpr auto attributes() {
      using action = nexthop_group_mpls_action_t;
      return std::tuple{attribute{"action_type", &action::action_type_},
                        attribute{"label_stack", &action::label_stack_}};
   }

 private:
   mpls_action_t action_type_ = mpls_action_t::none;
   std::forward_list<mpls_label_t> label_stack_;
};

/// One member of a group: where the packet leaves, and what is done to its labels.
class nexthop_group_entry_t {
 public:
   nexthop_group_entry_t() = default;
   explicit nexthop_group_entry_t(ip_addr_t const& nexthop) : nexthop_(nexthop) {}

   ip_addr_t const& nexthop() const { return nexthop_; }
   void nexthop_is(ip_addr_t const& nexthop) { nexthop_ = nexthop; }
   /// Name of a group that the entry leads into; empty for none.
   std::string const& child_nexthop_group() const { return child_nexthop_group_; }
   void child_nexthop_group_is(std::string const& name) { child_nexthop_group_ = name; }
   intf_id_t const& intf() const { return intf_; }
   void intf_is(intf_id_t const& intf) { intf_ = intf; }
   nexthop_group_mpls_action_t const& mpls_action() const { return mpls_action_; }
   void mpls_action_is(nexthop_group_mpls_action_t const& action) { mpls_action_ = action; }

   auto operator<=>(nexthop_group_entry_t const&) const = default;
   static constexpr auto attributes() {
      using entry = nexthop_group_entry_t;
      return std::tuple{attribute{"nexthop", &entry::nexthop_},
                        attribute{"child_nexthop_group", &entry::child_nexthop_group_},
                        attribute{"intf", &entry::intf_}, attribute{"mpls_action", &entry::mpls_action_}};
   }

 private:
   ip_addr_t nexthop_;
   std::string child_nexthop_group_;
   intf_id_t intf_;
   nexthop_group_mpls_action_t mpls_action_;
};

/// A nexthop group: the members among which the switch spreads traffic, by index.
class nexthop_group_t {
 public:
   nexthop_group_t() = default;
   nexthop_group_t(std::string name, nexthop_group_encap_t type) : name_(std::move(name)), type_(type) {}
   nexthop_group_t(std::string name, nexthop_group_encap_t type, nexthop_group_gre_key_t gre_key_type)
      : name_(std::move(name)), type_(type), gre_key_type_(gre_key_type) {}

   std::string const& name() const { return name_; }
   nexthop_group_encap_t type() const { return type_; }
   nexthop_group_gre_key_t gre_key_type() const { return gre_key_type_; }
   /// TTL of the encapsulation.
   unsigned short ttl() const { return ttl_; }
   void ttl_is(unsigned short ttl) { ttl_ = ttl; }
   ip_addr_t const& source_ip() const { return source_ip_; }
   void source_ip_is(ip_addr_t const& address) { source_ip_ = address; }
   intf_id_t const& source_intf() const { return source_intf_; }
   void source_intf_is(intf_id_t intf) { source_intf_ = intf; }
   /// Whether the group leaves out indexes that have no reachable entry.
   bool autosize() const { return autosize_; }
   void autosize_is(bool autosize) { autosize_ = autosize; }
   /// Whether the group's counters are its own even where another group has the same entries.
   bool counters_unshared() const { return counters_unshared_; }
   void counters_unshared_is(bool unshared) { counters_unshared_ = unshared; }
   bool hierarchical_fecs_enabled() const { return hierarchical_fecs_enabled_; }
   void hierarchical_fecs_enabled_is(bool enabled) { hierarchical_fecs_enabled_ = enabled; }

   std::map<unsigned short, nexthop_group_entry_t> const& nexthops() const { return nexthops_; }
   void nexthops_is(std::map<unsigned short, nexthop_group_entry_t> const& nexthops) { nexthops_ = nexthops; }
   void nexthop_set(unsigned short index, nexthop_group_entry_t const& entry) { nexthops_[index] = entry; }
   std::map<unsigned short, ip_addr_t> const& destination_ips() const { return destination_ips_; }
   void destination_ips_is(std::map<unsigned short, ip_addr_t> const& addresses) { destination_ips_ = addresses; }

   auto operator<=>(nexthop_group_t const&) const = default;
   static constexpr auto attributes() {
      using group = nexthop_group_t;
      return std::tuple{attribute{"name", &group::name_},
                        attribute{"type", &group::type_},
                        attribute{"gre_key_type", &group::gre_key_type_},
                        attribute{"ttl", &group::ttl_},
                        attribute{"source_ip", &group::source_ip_},
                        attribute{"source_intf", &group::source_intf_},
                        attribute{"autosize", &group::autosize_},
                        attribute{"counters_unshared", &group::counters_unshared_},
                        attribute{"hierarchical_fecs_enabled", &group::hierarchical_fecs_enabled_},
                        attribute{"nexthops", &group::nexthops_},
                        attribute{"destination_ips", &group::destination_ips_}};
   }

 private:
   std::string name_;
   nexthop_group_encap_t type_ = nexthop_group_encap_t::none;
   nexthop_group_gre_key_t gre_key_type_ = nexthop_group_gre_key_t::none;
   unsigned short ttl_ = 0;
   ip_addr_t source_ip_;
   intf_id_t source_intf_;
   bool autosize_ = false;
   bool counters_unshared_ = false;
   bool hierarchical_fecs_enabled_ = false;
   std::map<unsigned short, nexthop_group_entry_t> nexthops_;
   std::map<unsigned short, ip_addr_t> destination_ips_;
};

/// Traffic through one entry of a group; not valid where the group has no such entry.
class nexthop_group_entry_counter_t {
 public:
   nexthop_group_entry_counter_t() = default;
   nexthop_group_entry_counter_t(std::uint64_t packets, std::uint64_t bytes)
      : packets_(packets), bytes_(bytes), valid_(true) {}

   std::uint64_t packets() const { return packets_; }
   std::uint64_t bytes() const { return bytes_; }
   bool valid() const { return valid_; }

 private:
   std::uint64_t packets_ = 0;
   std::uint64_t bytes_ = 0;
   bool valid_ = false;
};

using nexthop_group_iter_impl = iter_impl<nexthop_group_t>;
using nexthop_group_iter_t = iter_base<nexthop_group_t, nexthop_group_iter_impl>;
using programmed_nexthop_group_iter_impl = iter_impl<std::string>;
using programmed_nexthop_group_iter_t = iter_base<std::string, programmed_nexthop_group_iter_impl>;

class nexthop_group_mgr;

/// Receives the events of nexthop groups, on the main loop, for the groups that it watches.
class nexthop_group_handler : public base_handler<nexthop_group_mgr, nexthop_group_handler> {
 public:
   using base_handler::base_handler;

   void watch_all_nexthop_groups(bool on);

   /// Traffic can, or can no longer, leave through the group. False comes also when an active group is deleted.
   virtual void on_nexthop_group_active(std::string const& /*name*/, bool /*active*/) {}
   /// The switch has programmed the group; the version grows by one each time, modulo 65536.
   virtual void on_nexthop_group_programmed(std::string const& /*name*/, unsigned short /*version*/) {}
};

/// A nexthop_group_handler that may still know the programmed event in its older form.
class nexthop_group_handler_v2 : public nexthop_group_handler {
 public:
   using nexthop_group_handler::nexthop_group_handler;

   void on_nexthop_group_programmed(std::string const& name, unsigned short /*version*/) override {
      on_nexthop_group_programmed(name);
   }
   /// Without the version; not called where the form above is overridden.
   virtual void on_nexthop_group_programmed(std::string const& /*name*/) {}
};

/// The nexthop groups of the switch, by name. Thread-safe: each operation is atomic. A group that is set is programmed
/// later, in order, on the main loop.
class nexthop_group_mgr : public base_mgr<nexthop_group_handler, std::string> {
 public:
   virtual ~nexthop_group_mgr() = default;

   /// Marks every group; setting one clears its mark.
   virtual void resync_init() = 0;
   /// Deletes the groups that are still marked.
   virtual void resync_complete() = 0;

   virtual nexthop_group_iter_t nexthop_group_iter() const = 0;
   /// The names of the groups that the switch has programmed.
   virtual programmed_nexthop_group_iter_t programmed_nexthop_group_iter() const = 0;

   virtual bool exists(std::string const& name) const = 0;
   /// Throws invalid_argument_error for an unknown group.
   virtual nexthop_group_t nexthop_group(std::string const& name) const = 0;
   /// Whether traffic can leave through the group; false for an unknown one.
   virtual bool active(std::string const& name) const = 0;
   /// A group that the switch has programmed. Throws invalid_argument_error for any other name.
   virtual nexthop_group_t programmed_nexthop_group(std::string const& name) const = 0;
   /// Not valid for an unknown group or entry.
   virtual nexthop_group_entry_counter_t counter(std::string const& name, unsigned short entry) const = 0;

   /// Creates the group, or replaces the one of that name whole. Throws invalid_argument_error for an empty name.
   virtual void nexthop_group_set(nexthop_group_t const& group) = 0;
   /// Deletes the group; one that is absent is no error. Routes that name it are not touched.
   virtual void nexthop_group_del(std::string const& name) = 0;
};

inline void nexthop_group_handler::watch_all_nexthop_groups(bool on) { get_mgr()->watch_all(this, on); }

}  // namespace velm
