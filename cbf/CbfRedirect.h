#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/velm/acl.h"

namespace VelmSdkRpc {

/// Identifies a redirect: traffic that would leave by the one nexthop group leaves by the other.
struct CbfRedirectKey {
   std::string matchNexthopGroup;
   std::string redirectNexthopGroup;

   /// The name of the redirect's class map, and the stem of its ACLs' names. Different keys may have the same.
   std::string uniqueName() const;
   std::uint32_t hash() const;

   bool operator==(CbfRedirectKey const&) const = default;
};

/// Which packets of the match group are redirected. Sorted ascending; what was given twice stands twice.
struct CbfDscpValues {
   using Values = std::vector<std::uint8_t>;

   Values ipv4;
   Values ipv6;

   bool operator==(CbfDscpValues const&) const = default;
};

/// How an address family's ACL carries a redirect: a rule for each DSCP value.
struct AfDefinitions {
   velm::acl_type_t aclType;
   std::string_view nameSuffix;  // of the ACL
   unsigned dscpShift;           // from a value to a rule's priority_value
   std::uint8_t dscpMask;        // every rule's priority_mask

   velm::acl_key_t aclKey(std::string const& uniqueName) const {
      return {uniqueName + std::string(nameSuffix), aclType};
   }
   std::uint8_t priorityOf(std::uint8_t dscp) const { return static_cast<std::uint8_t>(dscp << dscpShift); }
   std::uint8_t dscpOf(std::uint8_t priority) const { return static_cast<std::uint8_t>(priority >> dscpShift); }
};

// The switch wants IPv4 values plain, and IPv6 ones where the traffic class has them.
inline constexpr AfDefinitions ipv4Definitions{velm::acl_type_t::ipv4, "_IPv4", 0, 0x3F};
inline constexpr AfDefinitions ipv6Definitions{velm::acl_type_t::ipv6, "_IPv6", 2, 0xFC};

}  // namespace VelmSdkRpc
