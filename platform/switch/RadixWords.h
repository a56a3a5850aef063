#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace velm::embedded {

/// Specialised for keys that can be read as bits: `static std::uint64_t word(Key const&, std::size_t index)` is the
/// index-th 64 of them, 0 beyond the last. Keys order as their words do, and are equal only if all words are.
template <class Key>
struct RadixWords;

template <class Key>
concept RadixKey = requires(Key const& key, std::size_t index) {
   { RadixWords<Key>::word(key, index) } -> std::same_as<std::uint64_t>;
};

}  // namespace velm::embedded
