#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/hints/Prefetcher.h"
#include "platform/velm/acl.h"
#include "platform/velm/agent.h"
#include "platform/velm/bfd.h"
#include "platform/velm/class_map.h"
#include "platform/velm/intf.h"
#include "platform/velm/ip_route.h"
#include "platform/velm/mpls_route.h"
#include "platform/velm/nexthop_group.h"
#include "platform/velm/nexthop_group_tunnel.h"
#include "platform/velm/policy_map.h"

namespace VelmSdkRpc {

/// An iterator over what a test hands out.
template <class T>
class VectorIter : public velm::iter_impl<T> {
 public:
   explicit VectorIter(std::vector<T> elements) : elements_(std::move(elements)) {}
   std::unique_ptr<velm::iter_impl<T>> clone() const override { return std::make_unique<VectorIter>(*this); }
   T const* current() const override { return index_ < elements_.size() ? &elements_[index_] : nullptr; }
   void advance() override { ++index_; }

 private:
   std::vector<T> elements_;
   std::size_t index_ = 0;
};
template <class T>
velm::iter_base<T> iterOf(std::vector<T> elements) {
   return velm::iter_base<T>(std::make_unique<VectorIter<T>>(std::move(elements)));
}
template <class T>
velm::iter_base<T> emptyIter() {
   return iterOf(std::vector<T>());
}

class MockAclMgr : public velm::acl_mgr {
 public:
   MOCK_METHOD(bool, acl_exists, (velm::acl_key_t const&), (const, override));
   MOCK_METHOD(void, acl_del, (velm::acl_key_t const&), (override));
   MOCK_METHOD(void, acl_rule_set, (velm::acl_key_t const&, std::uint32_t, velm::acl_rule_ip_t const&), (override));
   MOCK_METHOD(void, acl_rule_del, (velm::acl_key_t const&, std::uint32_t), (override));
   MOCK_METHOD(velm::acl_rule_ip_iter_t, acl_rule_ip_iter, (velm::acl_key_t const&), (const, override));
   MOCK_METHOD(void, acl_commit, (), (override));
};

class MockClassMapMgr : public velm::class_map_mgr {
 public:
   MOCK_METHOD(bool, exists, (velm::policy_map_key_t const&), (const, override));
   MOCK_METHOD(velm::class_map_t, class_map, (velm::policy_map_key_t const&), (const, override));
   MOCK_METHOD(void, class_map_is, (velm::class_map_t const&), (override));
   MOCK_METHOD(void, class_map_del, (velm::policy_map_key_t const&), (override));
};

class MockPolicyMapMgr : public velm::policy_map_mgr {
 public:
   using key = velm::policy_map_key_t;
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(bool, exists, (key const&), (const, override));
   MOCK_METHOD(velm::policy_map_t, policy_map, (key const&), (const, override));
   MOCK_METHOD(void, policy_map_is, (velm::policy_map_t const&), (override));
   MOCK_METHOD(void, policy_map_del, (key const&), (override));
   MOCK_METHOD(velm::policy_map_iter_t, policy_map_iter, (), (const, override));
   MOCK_METHOD(void, policy_map_apply, (key const&, velm::intf_id_t, velm::acl_direction_t, bool), (override));
   MOCK_METHOD(velm::policy_map_hw_status_iter_t, policy_map_hw_status_iter, (), (const, override));
   MOCK_METHOD(velm::policy_map_hw_statuses_t, hw_status, (key const&), (const, override));
};

class MockAgentMgr : public velm::agent_mgr {
 public:
   MOCK_METHOD(bool, enabled, (), (const, override));
   MOCK_METHOD(std::string, agent_option, (std::string const&), (const, override));
   MOCK_METHOD(bool, agent_option_exists, (std::string const&), (const, override));
   MOCK_METHOD(velm::agent_option_iter_t, agent_option_iter, (), (const, override));
   MOCK_METHOD(std::string, status, (std::string const&), (const, override));
   MOCK_METHOD(velm::agent_status_iter_t, status_iter, (), (const, override));
   MOCK_METHOD(void, status_set, (std::string const&, std::string const&), (override));
   MOCK_METHOD(void, status_del, (std::string const&), (override));
   MOCK_METHOD(void, shutdown_complete_is, (bool), (override));
   MOCK_METHOD(std::uint32_t, agent_id, (), (const, override));
   MOCK_METHOD(double, agent_uptime, (), (const, override));
};

class MockBfdSessionMgr : public velm::bfd_session_mgr {
 public:
   using key = velm::sbfd_echo_session_key_t;
   MOCK_METHOD(velm::sbfd_echo_session_iter_t, sbfd_echo_session_iter, (), (const, override));
   MOCK_METHOD(void, sbfd_echo_session_set, (key const&), (override));
   MOCK_METHOD(void, sbfd_echo_session_del, (key const&), (override));
   MOCK_METHOD(velm::sbfd_interval_t, sbfd_echo_session_default_interval, (), (const, override));
   MOCK_METHOD(void, sbfd_echo_session_interval_is, (key const&, velm::sbfd_interval_t), (override));
   MOCK_METHOD(void, sbfd_echo_session_rtt_enabled_is, (key const&, bool), (override));
   MOCK_METHOD(velm::bfd_session_status_t, sbfd_echo_session_status, (key const&), (const, override));
};

class MockIntfMgr : public velm::intf_mgr {
 public:
   MOCK_METHOD(velm::intf_iter_t, intf_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (velm::intf_id_t), (const, override));
   MOCK_METHOD(std::string, kernel_intf_name, (velm::intf_id_t), (const, override));
   MOCK_METHOD(velm::intf_id_t, velm_intf_name, (std::string const&), (const, override));
   MOCK_METHOD(bool, admin_enabled, (velm::intf_id_t), (const, override));
   MOCK_METHOD(void, admin_enabled_is, (velm::intf_id_t, bool), (override));
   MOCK_METHOD(std::string, description, (velm::intf_id_t), (const, override));
   MOCK_METHOD(void, description_is, (velm::intf_id_t, std::string const&), (override));
   MOCK_METHOD(velm::oper_status_t, oper_status, (velm::intf_id_t), (const, override));
};

class MockIpRouteMgr : public velm::ip_route_mgr, public Hints::Prefetcher<velm::ip_route_key_t, std::string> {
 public:
   using key = velm::ip_route_key_t;
   using route = velm::ip_route_t;
   using via = velm::ip_route_via_t;
   MOCK_METHOD(std::uint32_t, tag, (), (const, override));
   MOCK_METHOD(void, tag_is, (std::uint32_t), (override));
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(void, prefetch, (std::span<key const>, std::string const&), (const, override));
   MOCK_METHOD(velm::ip_route_iter_t, ip_route_iter, (), (const, override));
   MOCK_METHOD(velm::ip_route_via_iter_t, ip_route_via_iter, (key const&), (const, override));
   MOCK_METHOD(velm::ip_route_via_iter_t, ip_route_via_iter, (key const&, std::string const&), (const, override));
   MOCK_METHOD(bool, exists, (key const&), (const, override));
   MOCK_METHOD(bool, exists, (key const&, std::string const&), (const, override));
   MOCK_METHOD(bool, exists, (via const&), (const, override));
   MOCK_METHOD(bool, exists, (via const&, std::string const&), (const, override));
   MOCK_METHOD(route, ip_route, (key const&), (const, override));
   MOCK_METHOD(route, ip_route, (key const&, std::string const&), (const, override));
   MOCK_METHOD(void, ip_route_set, (route const&), (override));
   MOCK_METHOD(void, ip_route_set, (route const&, velm::ip_route_action_t), (override));
   MOCK_METHOD(void, ip_route_set, (route const&, std::string const&), (override));
   MOCK_METHOD(void, ip_route_del, (key const&), (override));
   MOCK_METHOD(void, ip_route_del, (key const&, std::string const&), (override));
   MOCK_METHOD(void, ip_route_via_set, (via const&), (override));
   MOCK_METHOD(void, ip_route_via_set, (via const&, std::string const&), (override));
   MOCK_METHOD(void, ip_route_via_del, (via const&), (override));
   MOCK_METHOD(void, ip_route_via_del, (via const&, std::string const&), (override));
};

class MockMplsRouteMgr : public velm::mpls_route_mgr {
 public:
   using key = velm::mpls_route_key_t;
   using via = velm::mpls_route_via_t;
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(velm::mpls_route_iter_t, mpls_route_iter, (), (const, override));
   MOCK_METHOD(velm::mpls_route_status_iter_t, mpls_route_status_iter, (), (const, override));
   MOCK_METHOD(velm::mpls_route_via_iter_t, mpls_route_via_iter, (key const&), (const, override));
   MOCK_METHOD(velm::mpls_route_via_status_iter_t, mpls_route_via_status_iter, (key const&), (const, override));
   MOCK_METHOD(velm::mpls_route_via_status_iter_t, mpls_route_via_status_iter, (velm::mpls_fec_id_t),
               (const, override));
   MOCK_METHOD(bool, exists, (key const&), (const, override));
   MOCK_METHOD(bool, exists, (via const&), (const, override));
   MOCK_METHOD(void, mpls_route_set, (velm::mpls_route_t const&), (override));
   MOCK_METHOD(void, mpls_route_del, (key const&), (override));
   MOCK_METHOD(void, mpls_route_via_set, (via const&), (override));
   MOCK_METHOD(void, mpls_route_via_del, (via const&), (override));
   MOCK_METHOD(velm::mpls_fec_id_t, fec_id, (key const&), (const, override));
   MOCK_METHOD(std::uint32_t, metric, (key const&), (const, override));
};

class MockMplsVrfLabelMgr : public velm::mpls_vrf_label_mgr {
 public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(velm::mpls_vrf_label_iter_t, mpls_vrf_label_iter, (), (const, override));
   MOCK_METHOD(velm::mpls_vrf_label_t, mpls_vrf_label, (velm::mpls_label_t), (const, override));
   MOCK_METHOD(void, mpls_vrf_label_set, (velm::mpls_vrf_label_t const&), (override));
   MOCK_METHOD(void, mpls_vrf_label_del, (velm::mpls_label_t), (override));
};

class MockNexthopGroupMgr : public velm::nexthop_group_mgr {
 public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(velm::nexthop_group_iter_t, nexthop_group_iter, (), (const, override));
   MOCK_METHOD(velm::programmed_nexthop_group_iter_t, programmed_nexthop_group_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (std::string const&), (const, override));
   MOCK_METHOD(velm::nexthop_group_t, nexthop_group, (std::string const&), (const, override));
   MOCK_METHOD(bool, active, (std::string const&), (const, override));
   MOCK_METHOD(velm::nexthop_group_t, programmed_nexthop_group, (std::string const&), (const, override));
   MOCK_METHOD(velm::nexthop_group_entry_counter_t, counter, (std::string const&, unsigned short), (const, override));
   MOCK_METHOD(void, nexthop_group_set, (velm::nexthop_group_t const&), (override));
   MOCK_METHOD(void, nexthop_group_del, (std::string const&), (override));
};

class MockNexthopGroupTunnelMgr : public velm::nexthop_group_tunnel_mgr {
 public:
   MOCK_METHOD(void, resync_init, (), (override));
   MOCK_METHOD(void, resync_complete, (), (override));
   MOCK_METHOD(velm::nexthop_group_tunnel_iter_t, nexthop_group_tunnel_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (velm::ip_prefix_t const&), (const, override));
   MOCK_METHOD(velm::nexthop_group_tunnel_t, nexthop_group_tunnel, (velm::ip_prefix_t const&), (const, override));
   MOCK_METHOD(void, nexthop_group_tunnel_set, (velm::nexthop_group_tunnel_t const&), (override));
   MOCK_METHOD(void, nexthop_group_tunnel_del, (velm::ip_prefix_t const&), (override));
};

}  // namespace VelmSdkRpc
