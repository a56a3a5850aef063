#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/linux/trie/Memory.h"

namespace velm::trie {

/// Moves the nodes from a word on that lie where Memory::takeBetter knows a better place, each by itself, so that what
/// is free comes together. Answers stay as they are throughout. Returns how many were moved.
std::size_t pack(Memory& memory, std::uint32_t& word);

}  // namespace velm::trie
