#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/velm/acl.h"

namespace VelmSdkRpc {

/// Identifies a redirect: traffic that would leave by the match group leaves by the redirect group, if its DSCP is
/// among the redirect's values.
struct CbfRedirectKey {
   std::string matchNexthopGroup;
   std::string redirectNexthopGroup;

   /// The name of the redirect's class map, and the stem of its ACLs' names: both groups, with what they share once.
   /// "nhg" and "nhg-red" make "nhg-red", "nhg-a" and "nhg-b" make "nhg-a-b". Different keys may have the same; they
   /// then share class map and ACLs.
   std::string uniqueName() const;
   /// Equal keys have equal hashes as long as the process lives, and no longer.
   std::uint32_t hash() const;

   bool operator==(CbfRedirectKey const&) const = default;
};

/// Which packets of the match group are redirected, by address family. Sorted ascending; what a client gave twice
/// stands twice and makes two rules, and is another list than the one without the repeat.
struct CbfDscpValues {
   using Values = std::vector<std::uint8_t>;

   Values ipv4;
   Values ipv6;

   bool operator==(CbfDscpValues const&) const = default;
};

/// How an address family's ACL carries a redirect: a rule for each DSCP value, from which the value can be read back.
struct AfDefinitions {
   velm::acl_type_t aclType;
   std::string_view nameSuffix;  // what tells the ACL's name from that of the other family
   unsigned dscpShift;           // from a DSCP value to a rule's priority_value
   std::uint8_t dscpMask;        // the priority_mask of every rule

   velm::acl_key_t aclKey(std::string const& uniqueName) const {
      return {uniqueName + std::string(nameSuffix), aclType};
   }
   std::uint8_t priorityOf(std::uint8_t dscp) const { return static_cast<std::uint8_t>(dscp << dscpShift); }
   std::uint8_t dscpOf(std::uint8_t priority) const { return static_cast<std::uint8_t>(priority >> dscpShift); }
};

// The two differ on purpose: the switch wants the DSCP of IPv4 as a plain number, and that of IPv6 where the traffic
// class byte has it, above two bits of ECN.
inline constexpr AfDefinitions ipv4Definitions{velm::acl_type_t::ipv4, "_IPv4", 0, 0x3F};
inline constexpr AfDefinitions ipv6Definitions{velm::acl_type_t::ipv6, "_IPv6", 2, 0xFC};

}  // namespace VelmSdkRpc
