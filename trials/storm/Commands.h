#pragma once

#include <string>

#include "tests/support/AnyMessage.h"

namespace VelmSdkRpc::storm {

/// An interface's name, of a port, LAG, loopback or VLAN, that exists mostly.
std::string anyIntf(AnyMessage& any);
/// A nexthop group's name, of a few.
std::string anyGroup(AnyMessage& any);
std::string anyVrf(AnyMessage& any);
/// The name of a policy map, profile, option, whatever has no names of its own; some are odd.
std::string anyName(AnyMessage& any);

/// A command that the switch's command line may be given, some malformed; none that ends the agent, or makes a call of
/// it fail in a way that does.
std::string anyShowCommand(AnyMessage& any);
std::string anyConfigCommand(AnyMessage& any);

}  // namespace VelmSdkRpc::storm
