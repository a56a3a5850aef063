#pragma once

#include <map>
#include <string>
#include <unordered_map>

#include "platform/velm/intf_id.h"

namespace velm::netlink {

/// Which network devices are the switch's interfaces. A device is, whose name is that of the interface with `_` for
/// `/` ("Ethernet1", "Ethernet3_1"), or which was given to the interface; all others are the host's. Where a device
/// was given, the names of that device and of that interface say nothing more. A value; no locks.
class Adoption {
 public:
   Adoption() = default;
   /// Takes the devices given to interfaces. Throws configuration_error if one is given twice, and
   /// invalid_argument_error for a name that no device can have.
   explicit Adoption(std::map<intf_id_t, std::string> devices);

   /// The interface that the device is; none if it is the host's.
   intf_id_t intf(std::string const& device) const;
   /// The device that is the interface, whether it exists or not; empty if it can have none: no interface, a name too
   /// long for a device, or a device that was given to another interface.
   std::string device(intf_id_t intf) const;

 private:
   std::map<intf_id_t, std::string> devices_;
   std::unordered_map<std::string, intf_id_t> given_;
};

}  // namespace velm::netlink
