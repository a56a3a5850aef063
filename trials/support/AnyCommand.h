#pragma once

#include <string>
#include <string_view>

#include "tests/support/AnyMessage.h"

namespace VelmSdkRpc::trials {

/// An interface's name, of a port, LAG, loopback or VLAN, that exists mostly.
std::string anyIntf(AnyMessage& any);
/// A nexthop group's name, of a few.
std::string anyGroup(AnyMessage& any);
std::string anyVrf(AnyMessage& any);
/// The name of a policy map, profile, option, whatever has no names of its own; some are odd.
std::string anyName(AnyMessage& any);

/// A command of the switch's table for that pattern: its placeholders with words of their kinds, its optional parts
/// there or not, a few characters spoilt now and then.
std::string filled(AnyMessage& any, std::string_view pattern);
/// Commands of any patterns, but for those that end the agent, make a call of it fail, or only take time.
std::string anyShowCommand(AnyMessage& any);
std::string anyConfigCommand(AnyMessage& any);

}  // namespace VelmSdkRpc::trials
