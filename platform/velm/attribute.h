#pragma once

#include <tuple>
#include <type_traits>
#include <utility>

namespace velm {

/// One attribute of a value type: the accessor's name and the member that holds it. A value type lists all of its
/// attributes once, in `static constexpr auto attributes()`, in the order of comparison; hash, JSON and the stored form
/// follow from that list.
template <class Owner, class Member>
struct attribute {
   char const* name;
   Member Owner::*member;
};
template <class Owner, class Member>
attribute(char const*, Member Owner::*) -> attribute<Owner, Member>;

/// One that no text may show, JSON above all.
template <class Owner, class Member>
struct secret_attribute {
   char const* name;
   Member Owner::*member;
};
template <class Owner, class Member>
secret_attribute(char const*, Member Owner::*) -> secret_attribute<Owner, Member>;

template <class T>
inline constexpr bool is_secret = false;
template <class Owner, class Member>
inline constexpr bool is_secret<secret_attribute<Owner, Member>> = true;

template <class T>
concept has_attributes = requires {
   T::attributes();
};

/// Calls fn(name, member) for every attribute of the value, in order; of a value that is not const the members may be
/// set.
template <class T, class Fn>
requires has_attributes<std::remove_const_t<T>>
void for_each_attribute(T& value, Fn&& fn) {
   std::apply([&](auto const&... a) { (fn(a.name, value.*a.member), ...); }, std::remove_const_t<T>::attributes());
}

/// Calls fn(name, member) for every attribute of the value but the secret ones, in order.
template <class T, class Fn>
requires has_attributes<std::remove_const_t<T>>
void for_each_shown_attribute(T& value, Fn&& fn) {
   auto const show = [&]<class Attribute>(Attribute const& a) {
      if constexpr (!is_secret<Attribute>) fn(a.name, value.*a.member);
   };
   std::apply([&](auto const&... a) { (show(a), ...); }, std::remove_const_t<T>::attributes());
}

/// The absl hash of every value type, and through it of every key of a hash table.
template <class H, has_attributes T>
H AbslHashValue(H state, T const& value) {
   for_each_attribute(value, [&](char const*, auto const& member) { state = H::combine(std::move(state), member); });
   return state;
}

}  // namespace velm
