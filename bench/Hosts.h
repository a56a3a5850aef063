#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "bench/Places.h"

namespace VelmSdkRpc::Bench {

inline std::string networkOrder(std::uint32_t value) {
   std::string bytes(4, '\0');
   for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>(value >> (24 - 8 * i));
   return bytes;
}

/// The first IPv4 host that is used, as a number, and how many are.
inline constexpr std::uint32_t firstHost = 16U << 24U;
inline constexpr std::size_t hosts = std::size_t{1} << 31U;
inline std::string hostAddress(Place place) { return networkOrder(firstHost + place); }
inline Place placeOfHost(std::string_view address) {
   std::uint32_t value = 0;
   for (auto const byte : address) value = value << 8U | static_cast<unsigned char>(byte);
   return value - firstHost;
}

}  // namespace VelmSdkRpc::Bench
