#pragma once

#include <type_traits>

namespace velm {

/// Whether an enum has that value. Clients can be shown no other: a stream of it would fail, or end the process. So
/// every number from outside, of a command or of a state folder, is asked this before it becomes an enum. Beside an
/// enum whose values count from 0 stands its last one,
///
///   constexpr auto last_value(acl_action_t) { return acl_action_t::deny; }
///
/// and beside any other an is_valid of its own.
template <class Enum>
requires std::is_enum_v<Enum>
constexpr bool is_valid(Enum value) { return value <= last_value(value); }

}  // namespace velm
