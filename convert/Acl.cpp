#include "convert/Acl.h"

#include <list>

#include "convert/BoundaryCheck.h"
#include "convert/Enums.h"
#include "convert/Values.h"
#include "platform/velm/acl.h"

// A rule converts field by field, in a straight line: the order of the lines is the order of the checks, and that
// decides which of several faults a client reads. A table of fields would hide the order in its rows.
namespace VelmSdkRpc::types {

velm::acl_ttl_spec_t convert(velm::remote::AclTtlSpec message) {
   velm::acl_ttl_spec_t spec;
   spec.oper_is(convert(message.oper()));
   spec.ttl_is(boundaryCheck<unsigned char>(message.ttl(), "ttl {} is out of range"));
   return spec;
}

velm::remote::AclTtlSpec convert(velm::acl_ttl_spec_t spec) {
   velm::remote::AclTtlSpec message;
   message.set_oper(convert(spec.oper()));
   message.set_ttl(spec.ttl());
   return message;
}

velm::acl_port_spec_t convert(velm::remote::AclPortSpec message) {
   velm::acl_port_spec_t spec;
   spec.oper_is(convert(message.oper()));
   std::list<unsigned short> ports;
   for (auto const port : message.ports()) {
      ports.push_back(boundaryCheck<unsigned short>(port, "port {} is out of range"));
   }
   spec.ports_is(ports);
   return spec;
}

velm::remote::AclPortSpec convert(velm::acl_port_spec_t spec) {
   velm::remote::AclPortSpec message;
   message.set_oper(convert(spec.oper()));
   message.mutable_ports()->Assign(spec.ports().begin(), spec.ports().end());
   return message;
}

// The order of these checks decides which of several faults the client reads. It is neither that of the schema's fields
// nor that of the rule's attributes, but the one that clients have always met; Acl.h lists it.
velm::acl_rule_ip_t convert(velm::remote::AclRuleIp message) {
   velm::acl_rule_ip_t rule;
   rule.action_is(convert(message.base().action()));
   rule.log_is(message.base().log());
   rule.tracked_is(message.base().tracked());
   rule.vlan_is(boundaryCheck<unsigned short>(message.vlan(), "vlan {} is out of range"));
   rule.vlan_mask_is(boundaryCheck<unsigned short>(message.vlan_mask(), "vlan mask {} is out of range"));
   rule.inner_vlan_is(boundaryCheck<unsigned short>(message.inner_vlan(), "inner vlan {} is out of range"));
   rule.inner_vlan_mask_is(
      boundaryCheck<unsigned short>(message.inner_vlan_mask(), "inner vlan mask {} is out of range"));
   rule.ip_protocol_is(boundaryCheck<unsigned char>(message.ip_protocol(), "IP protocol {} is out of range"));
   rule.ttl_is(convert(message.ttl()));
   rule.source_addr_is(convert(message.source_addr()));
   rule.destination_addr_is(convert(message.destination_addr()));
   rule.source_port_is(convert(message.source_port()));
   rule.destination_port_is(convert(message.destination_port()));
   rule.nexthop_group_is(message.nexthop_group());
   rule.tcp_flags_is(boundaryCheck<unsigned short>(message.tcp_flags(), "tcp flags {} is out of range"));
   rule.ip_type_is(convert(message.ip_type()));
   rule.established_is(message.established());
   rule.icmp_type_is(boundaryCheck<unsigned short>(message.icmp_type(), "icmp type {} is out of range"));
   rule.icmp_code_is(boundaryCheck<unsigned short>(message.icmp_code(), "icmp code {} is out of range"));
   rule.priority_value_is(boundaryCheck<unsigned char>(message.priority_value(), "priority value {} is out of range"));
   rule.priority_mask_is(boundaryCheck<unsigned char>(message.priority_mask(), "priority mask {} is out of range"));
   rule.match_fragments_is(message.match_fragments());
   rule.match_ip_priority_is(message.match_ip_priority());
   return rule;
}

velm::remote::AclRuleIp convert(velm::acl_rule_ip_t rule) {
   velm::remote::AclRuleIp message;
   auto& base = *message.mutable_base();
   base.set_action(convert(rule.action()));
   base.set_log(rule.log());
   base.set_tracked(rule.tracked());
   message.set_nexthop_group(rule.nexthop_group());
   *message.mutable_ttl() = convert(rule.ttl());
   *message.mutable_source_addr() = convert(rule.source_addr());
   *message.mutable_destination_addr() = convert(rule.destination_addr());
   *message.mutable_source_port() = convert(rule.source_port());
   *message.mutable_destination_port() = convert(rule.destination_port());
   message.set_vlan(rule.vlan());
   message.set_vlan_mask(rule.vlan_mask());
   message.set_inner_vlan(rule.inner_vlan());
   message.set_inner_vlan_mask(rule.inner_vlan_mask());
   message.set_ip_protocol(rule.ip_protocol());
   message.set_tcp_flags(rule.tcp_flags());
   message.set_ip_type(convert(rule.ip_type()));
   message.set_icmp_type(rule.icmp_type());
   message.set_icmp_code(rule.icmp_code());
   message.set_priority_value(rule.priority_value());
   message.set_priority_mask(rule.priority_mask());
   message.set_established(rule.established());
   message.set_match_fragments(rule.match_fragments());
   message.set_match_ip_priority(rule.match_ip_priority());
   return message;
}

}  // namespace VelmSdkRpc::types
