#pragma once

#include "platform/switch/commands/CommandTable.h"
#include "platform/velm/errors.h"

namespace velm::embedded::commands {

/// The interface that the list's last `interface` command chose. Throws configuration_error if there is none.
inline intf_id_t chosenIntf(Session const& session) {
   if (session.intf == intf_id_t()) throw configuration_error("no interface is chosen");
   return session.intf;
}

}  // namespace velm::embedded::commands
