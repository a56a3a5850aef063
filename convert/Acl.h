#pragma once

#include "proto/remote/acl.pb.h"

namespace velm {
class acl_port_spec_t;
class acl_rule_ip_t;
class acl_ttl_spec_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// Rules of access lists. Of several faults in one message the client reads the one that its function lists first. On
// the way to the wire only a value that this program does not know can fail.

/// Throws invalid_argument_error for an unknown operator, then for a TTL above 255.
velm::acl_ttl_spec_t convert(velm::remote::AclTtlSpec message);
/// Throws invalid_argument_error for an unknown operator.
velm::remote::AclTtlSpec convert(velm::acl_ttl_spec_t spec);

/// Keeps the order of the ports, and repeats. Throws invalid_argument_error for an unknown operator, then for the first
/// port above 65535. How many ports an operator takes is not checked here.
velm::acl_port_spec_t convert(velm::remote::AclPortSpec message);
/// Throws invalid_argument_error for an unknown operator.
velm::remote::AclPortSpec convert(velm::acl_port_spec_t spec);

/// Throws invalid_argument_error for the first of these that is wrong:
///   1. the action;
///   2. the VLAN, its mask, the inner VLAN, its mask (16 bits each), the IP protocol (8 bits);
///   3. the TTL;
///   4. the address of the source, that of the destination, the ports of the source, those of the destination;
///   5. the TCP flags (16 bits);
///   6. the IP type, which has no default: a message without one is refused;
///   7. the ICMP type and code (16 bits each), the priority and its mask (8 bits each).
/// The bounds of numbers are those of the SDK's types; whether a VLAN of that number can exist the switch says.
velm::acl_rule_ip_t convert(velm::remote::AclRuleIp message);
/// Throws invalid_argument_error for an unknown value of an enum, unsupported_error for an unknown address family.
velm::remote::AclRuleIp convert(velm::acl_rule_ip_t rule);

}  // namespace VelmSdkRpc::types
