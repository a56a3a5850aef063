#pragma once

#include "proto/remote/acl.pb.h"

namespace velm {
class acl_port_spec_t;
class acl_rule_ip_t;
class acl_ttl_spec_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// To the SDK: of several faults of one message the first in the order told here is the one reported.

/// Throws invalid_argument_error for an unknown operator, then for a TTL above 255.
velm::acl_ttl_spec_t convert(velm::remote::AclTtlSpec message);
/// Throws invalid_argument_error for an unknown operator.
velm::remote::AclTtlSpec convert(velm::acl_ttl_spec_t spec);

/// The ports in their order, repeats included. Throws invalid_argument_error for an unknown operator, then for the
/// first port above 65535.
velm::acl_port_spec_t convert(velm::remote::AclPortSpec message);
/// Throws invalid_argument_error for an unknown operator.
velm::remote::AclPortSpec convert(velm::acl_port_spec_t spec);

/// Throws invalid_argument_error for an unknown action; a VLAN, its mask, an inner VLAN, its mask or an IP protocol
/// that their types cannot hold; as the TTL does; for what is no address, the source first; as the ports do, those of
/// the source first; for TCP flags that their type cannot hold; for an unknown IP type, which an absent one is, too;
/// and for an ICMP type, ICMP code, priority or priority mask that their types cannot hold.
velm::acl_rule_ip_t convert(velm::remote::AclRuleIp message);
/// Throws invalid_argument_error for an enum's unknown number, unsupported_error for an unknown address family.
velm::remote::AclRuleIp convert(velm::acl_rule_ip_t rule);

}  // namespace VelmSdkRpc::types
