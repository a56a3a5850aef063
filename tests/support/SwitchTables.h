#pragma once

#include <rapidjson/document.h>

#include <functional>
#include <map>
#include <string>

namespace VelmSdkRpc {

/// Everything that native requests leave in the switch, or should, by kind and key:
///
///   "group g"                  "3", the number of its entries
///   "route 10.0.0.0/8"         "g 7", its group and its tag; "" without a via
///   "tunnel 192.0.2.1/32"      "g 5", its group and its metric
///   "label 100"                "red" for a lookup in a VRF, "ACTION LABEL PAYLOAD hop=ADDR intf=NAME group=NAME" with
///                              numbers for enums, "" without a via; both forms at once with a "|" between them
///   "session Ethernet1/16"     "300x3 false", its interval and whether it measures RTT
///   "redirect match to"        "1,46/184", its IPv4 and IPv6 values as the switch matches them
///   "pair key"                 its value
using Tables = std::map<std::string, std::string>;
/// Stands for any text, and for none.
constexpr auto anything = "*";

/// Gives the answer to a show command.
using Show = std::function<std::string(std::string const& command)>;
Tables tablesOf(Show const& show);

/// Where the tables are not as they should be; empty if they are.
std::string differenceOf(Tables const& found, Tables const& expected);

}  // namespace VelmSdkRpc
