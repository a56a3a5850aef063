#pragma once

#include <gmock/gmock.h>

#include "platform/loom/TaskScheduler.h"
#include "platform/switch/Switch.h"

namespace VelmSdkRpc {

/// What a manager of the switch needs, for one that stands alone.
struct ManagerParts {
   velm::embedded::CallLedger ledger;
   velm::embedded::MainLoop loop{new Loom::TaskScheduler};
};

// Managers whose changes do nothing, but for being looked at by a test; of what they hold nothing can be read then.

class MockAclMgr : ManagerParts, public velm::embedded::AclMgr {
 public:
   MockAclMgr() : AclMgr(ledger) {}
   MOCK_METHOD(void, acl_del, (velm::acl_key_t const&), (override));
   MOCK_METHOD(void, acl_rule_set, (velm::acl_key_t const&, std::uint32_t, velm::acl_rule_ip_t const&), (override));
   MOCK_METHOD(void, acl_rule_del, (velm::acl_key_t const&, std::uint32_t), (override));
   MOCK_METHOD(velm::acl_rule_ip_iter_t, acl_rule_ip_iter, (velm::acl_key_t const&), (const, override));
   MOCK_METHOD(void, acl_commit, (), (override));
};

class MockClassMapMgr : ManagerParts, public velm::embedded::ClassMapMgr {
 public:
   MockClassMapMgr() : ClassMapMgr(ledger) {}
   MOCK_METHOD(bool, exists, (velm::policy_map_key_t const&), (const, override));
   MOCK_METHOD(velm::class_map_t, class_map, (velm::policy_map_key_t const&), (const, override));
   MOCK_METHOD(void, class_map_is, (velm::class_map_t const&), (override));
   MOCK_METHOD(void, class_map_del, (velm::policy_map_key_t const&), (override));
};

class MockPolicyMapMgr : ManagerParts, public velm::embedded::PolicyMapMgr {
 public:
   MockPolicyMapMgr() : PolicyMapMgr(ledger, loop) {}
   MOCK_METHOD(bool, exists, (velm::policy_map_key_t const&), (const, override));
   MOCK_METHOD(velm::policy_map_t, policy_map, (velm::policy_map_key_t const&), (const, override));
   MOCK_METHOD(void, policy_map_is, (velm::policy_map_t const&), (override));
};

class MockAgentMgr : ManagerParts, public velm::embedded::AgentMgr {
 public:
   MockAgentMgr() : AgentMgr(ledger, loop) {}
   MOCK_METHOD(std::string, status, (std::string const&), (const, override));
   MOCK_METHOD(void, status_set, (std::string const&, std::string const&), (override));
   MOCK_METHOD(void, status_del, (std::string const&), (override));
};

class MockBfdSessionMgr : ManagerParts, public velm::embedded::BfdSessionMgr {
 public:
   using key = velm::sbfd_echo_session_key_t;
   MockBfdSessionMgr() : BfdSessionMgr(ledger, loop) {}
   MOCK_METHOD(void, sbfd_echo_session_set, (key const&), (override));
   MOCK_METHOD(void, sbfd_echo_session_del, (key const&), (override));
   MOCK_METHOD(void, sbfd_echo_session_interval_is, (key const&, velm::sbfd_interval_t), (override));
   MOCK_METHOD(void, sbfd_echo_session_rtt_enabled_is, (key const&, bool), (override));
   MOCK_METHOD(velm::bfd_session_status_t, sbfd_echo_session_status, (key const&), (const, override));
};

class MockIpRouteMgr : ManagerParts, public velm::embedded::IpRouteMgr {
 public:
   using key = velm::ip_route_key_t;
   MockIpRouteMgr() : IpRouteMgr(ledger) {}
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(void, prefetch, (std::span<key const>, std::string const&), (const, override));
   MOCK_METHOD(bool, exists, (key const&), (const, override));
   MOCK_METHOD(void, ip_route_set, (velm::ip_route_t const&, velm::ip_route_action_t), (override));
   MOCK_METHOD(void, ip_route_del, (key const&), (override));
   MOCK_METHOD(void, ip_route_via_set, (velm::ip_route_via_t const&), (override));
   MOCK_METHOD(void, ip_route_via_del, (velm::ip_route_via_t const&), (override));
};

class MockMplsRouteMgr : ManagerParts, public velm::embedded::MplsRouteMgr {
 public:
   using key = velm::mpls_route_key_t;
   using via = velm::mpls_route_via_t;
   MockMplsRouteMgr() : MplsRouteMgr(ledger, loop) {}
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(bool, exists, (key const&), (const, override));
   MOCK_METHOD(bool, exists, (via const&), (const, override));
   MOCK_METHOD(void, mpls_route_set, (velm::mpls_route_t const&), (override));
   MOCK_METHOD(void, mpls_route_del, (key const&), (override));
   MOCK_METHOD(void, mpls_route_via_set, (via const&), (override));
   MOCK_METHOD(void, mpls_route_via_del, (via const&), (override));
};

class MockMplsVrfLabelMgr : ManagerParts, public velm::embedded::MplsVrfLabelMgr {
 public:
   MockMplsVrfLabelMgr() : MplsVrfLabelMgr(ledger) {}
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(velm::mpls_vrf_label_t, mpls_vrf_label, (velm::mpls_label_t), (const, override));
   MOCK_METHOD(void, mpls_vrf_label_set, (velm::mpls_vrf_label_t const&), (override));
   MOCK_METHOD(void, mpls_vrf_label_del, (velm::mpls_label_t), (override));
};

class MockNexthopGroupMgr : ManagerParts, public velm::embedded::NexthopGroupMgr {
 public:
   MockNexthopGroupMgr() : NexthopGroupMgr(ledger) {}
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(bool, exists, (std::string const&), (const, override));
   MOCK_METHOD(void, nexthop_group_set, (velm::nexthop_group_t const&), (override));
   MOCK_METHOD(void, nexthop_group_del, (std::string const&), (override));
};

class MockNexthopGroupTunnelMgr : ManagerParts, public velm::embedded::NexthopGroupTunnelMgr {
 public:
   MockNexthopGroupTunnelMgr() : NexthopGroupTunnelMgr(ledger) {}
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(bool, exists, (velm::ip_prefix_t const&), (const, override));
   MOCK_METHOD(void, nexthop_group_tunnel_set, (velm::nexthop_group_tunnel_t const&), (override));
   MOCK_METHOD(void, nexthop_group_tunnel_del, (velm::ip_prefix_t const&), (override));
};

}  // namespace VelmSdkRpc
