#pragma once

// The program's lookup, compiled for the agent.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/linux/bpf/Layout.h"

static inline trie_node const* trie_at(void const* memory, __u32 unit) {
   return reinterpret_cast<trie_node const*>(static_cast<std::byte const*>(memory) + std::size_t{unit} * TRIE_UNIT);
}
static inline __u32 trie_word(__u32 const* word) { return __atomic_load_n(word, __ATOMIC_ACQUIRE); }

#include "platform/linux/bpf/lookup.h"
