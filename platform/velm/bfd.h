#pragma once

#include <compare>
#include <cstdint>
#include <forward_list>
#include <tuple>
#include <utility>

#include "platform/velm/attribute.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"

namespace velm {

/// Identifies an sBFD echo session: where its packets leave, and what they look like.
class sbfd_echo_session_key_t {
 public:
   sbfd_echo_session_key_t() = default;
   sbfd_echo_session_key_t(ip_addr_t nexthop, intf_id_t intf, std::forward_list<mpls_label_t> const& labels,
                           unsigned char ip_dscp, unsigned char mpls_exp)
      : nexthop_(nexthop), intf_(intf), labels_(labels), ip_dscp_(ip_dscp), mpls_exp_(mpls_exp) {}

   ip_addr_t const& nexthop() const { return nexthop_; }
   intf_id_t const& nexthop_intf() const { return intf_; }
   /// Outermost first.
   std::forward_list<mpls_label_t> const& labels() const { return labels_; }
   unsigned char ip_dscp() const { return ip_dscp_; }
   unsigned char mpls_exp() const { return mpls_exp_; }

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

class bfd_session_mgr;

/// Receives the events of BFD sessions.
class bfd_session_handler : public base_handler<bfd_session_mgr, bfd_session_handler> {
 public:
   using base_handler::base_handler;
};

/// The BFD sessions of the switch. Thread-safe.
class bfd_session_mgr : public base_mgr<bfd_session_handler, sbfd_echo_session_key_t> {
 public:
   virtual ~bfd_session_mgr() = default;
   /// Deletes the session; one that is absent is no error.
   virtual void sbfd_echo_session_del(sbfd_echo_session_key_t const& key) = 0;
};

}  // namespace velm
