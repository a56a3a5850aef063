#pragma once

#include <string>

#include "platform/velm/acl.h"
#include "platform/velm/bfd.h"
#include "platform/velm/bgp_path.h"
#include "platform/velm/eth_lag_intf.h"
#include "platform/velm/macsec.h"
#include "platform/velm/policy_map.h"

/// Managers whose tables this switch does not have yet: every operation throws unsupported_error.
namespace velm::embedded {

[[noreturn]] void throwUnsupported(char const* operation);

class AclMgr : public acl_mgr {
 public:
   void acl_commit() override { throwUnsupported("acl_mgr.acl_commit"); }
};

class BfdSessionMgr : public bfd_session_mgr {
 public:
   void sbfd_echo_session_del(sbfd_echo_session_key_t const&) override {
      throwUnsupported("bfd_session_mgr.sbfd_echo_session_del");
   }
};

class BgpPathMgr : public bgp_path_mgr {
 public:
   bool ipv4_unicast_bgp_convergence() const override { throwUnsupported("bgp_path_mgr.ipv4_unicast_bgp_convergence"); }
   bool ipv6_unicast_bgp_convergence() const override { throwUnsupported("bgp_path_mgr.ipv6_unicast_bgp_convergence"); }
};

class ClassMapMgr : public class_map_mgr {
 public:
   bool exists(policy_map_key_t const&) const override { throwUnsupported("class_map_mgr.exists"); }
   void class_map_del(policy_map_key_t const&) override { throwUnsupported("class_map_mgr.class_map_del"); }
};

class EthLagIntfMgr : public eth_lag_intf_mgr {
 public:
   bool exists(intf_id_t) const override { throwUnsupported("eth_lag_intf_mgr.exists"); }
   void eth_lag_intf_is(intf_id_t) override { throwUnsupported("eth_lag_intf_mgr.eth_lag_intf_is"); }
   void eth_lag_intf_del(intf_id_t) override { throwUnsupported("eth_lag_intf_mgr.eth_lag_intf_del"); }
};

class MacsecMgr : public macsec_mgr {
 public:
   bool exists(std::string const&) const override { throwUnsupported("macsec_mgr.exists"); }
   void profile_del(std::string const&) override { throwUnsupported("macsec_mgr.profile_del"); }
   bool macsec_capable(intf_id_t) const override { throwUnsupported("macsec_mgr.macsec_capable"); }
};

class PolicyMapMgr : public policy_map_mgr {
 public:
   void resync_init() override { throwUnsupported("policy_map_mgr.resync_init"); }
   void resync_complete() override { throwUnsupported("policy_map_mgr.resync_complete"); }
   bool exists(policy_map_key_t const&) const override { throwUnsupported("policy_map_mgr.exists"); }
   void policy_map_del(policy_map_key_t const&) override { throwUnsupported("policy_map_mgr.policy_map_del"); }
};

}  // namespace velm::embedded
