#pragma once

#include <string_view>

namespace VelmSdkRpc {

/// The value in a narrower type: the wire knows no bytes and no 16-bit integers. Throws invalid_argument_error with
/// `format`, its placeholder filled with the value, if the type cannot hold it. Only the type bounds it, never a
/// protocol: a VLAN of 5000 passes, and the switch is the one to refuse it.
///
/// Exists from unsigned int to unsigned char and to unsigned short.
template <class To, class From>
To boundaryCheck(From value, std::string_view format);

extern template unsigned char boundaryCheck(unsigned int value, std::string_view format);
extern template unsigned short boundaryCheck(unsigned int value, std::string_view format);

}  // namespace VelmSdkRpc
