#pragma once

#include <cstddef>
#include <cstdint>

namespace VelmSdkRpc {

/// Names one handler for the whole life of the process and travels through the completion queue as its tag. It is never
/// an address: an event that comes after its handler has gone finds nothing in the service's table and does no harm.
///
///    63                              8 7             0
///   +---------------------------------+---------------+
///   | number, from 1, never reused    | service index |
///   +---------------------------------+---------------+
using OpaqueId = void*;

constexpr unsigned serviceIndexBits = 8;

inline OpaqueId makeOpaqueId(std::uint64_t number, std::size_t serviceIndex) {
   return reinterpret_cast<OpaqueId>(number << serviceIndexBits | serviceIndex);  // NOLINT(performance-no-int-to-ptr)
}

inline std::size_t serviceIndexOf(OpaqueId id) {
   return reinterpret_cast<std::uintptr_t>(id) & ((1U << serviceIndexBits) - 1);
}

/// The tag by which GrpcServer tells its loop to shut the queue. No handler has it, for handlers' numbers start at 1.
inline OpaqueId wakeTag() { return makeOpaqueId(0, 1); }

}  // namespace VelmSdkRpc
