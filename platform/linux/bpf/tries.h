/* The memory of the tries as an array of one element, which no lookup need be repeated for. */
#ifndef VELM_PLATFORM_LINUX_BPF_TRIES_H
#define VELM_PLATFORM_LINUX_BPF_TRIES_H

#include <linux/bpf.h>
/* Names types of the one above. */
#include <bpf/bpf_helpers.h>

#include "platform/linux/bpf/Layout.h"

/* Both are set before the program is loaded: the element's size, and how many units that is. */
struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __uint(key_size, sizeof(__u32));
   __uint(value_size, sizeof(__u64));
} tries SEC(".maps");
const volatile __u32 trie_units = 0;

static __always_inline void const* trie_memory(void) {
   __u32 const first = 0;
   return bpf_map_lookup_elem(&tries, &first);
}
static __always_inline struct trie_node const* trie_at(void const* memory, __u32 unit) {
   barrier_var(unit); /* else the compiler takes the bits that it has checked anew from the word */
   return unit < trie_units - TRIE_REACH ? memory + (__u64)unit * TRIE_UNIT : 0;
}
static __always_inline __u32 trie_word(__u32 const* word) { return *(__u32 const volatile*)word; }

#include "platform/linux/bpf/lookup.h"

#endif
