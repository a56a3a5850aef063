#pragma once

#include <string_view>

namespace VelmSdkRpc {

/// Gives the value in a narrower type: the SDK has bytes and 16-bit integers, the wire has neither. If the type cannot
/// hold it, throws invalid_argument_error with `format`, whose one placeholder gets the value.
///
/// Only the type bounds the value, never a protocol: a VLAN of 5000 passes, and the switch is the one to refuse it.
/// Fields that are cut to their width instead are named by their conversions.
///
/// Exists from unsigned int to unsigned char and to unsigned short.
template <class To, class From>
To boundaryCheck(From value, std::string_view format);

extern template unsigned char boundaryCheck(unsigned int value, std::string_view format);
extern template unsigned short boundaryCheck(unsigned int value, std::string_view format);

}  // namespace VelmSdkRpc
