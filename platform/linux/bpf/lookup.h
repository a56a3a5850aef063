/* Longest prefix match in a trie of Layout.h, for the XDP program and for C++. Lock-free beside the one writer: an
 * answer is one that held at some moment of the call.
 *
 * Whoever includes this declares before it how the memory is read, as static inline functions:
 *
 *   struct trie_node const* trie_at(void const* memory, __u32 unit);   null outside of the memory
 *   __u32 trie_word(__u32 const* word);                                one load, not repeated or torn
 */
#ifndef VELM_PLATFORM_LINUX_BPF_LOOKUP_H
#define VELM_PLATFORM_LINUX_BPF_LOOKUP_H

#include "platform/linux/bpf/Layout.h"

/* How many bits are set; BPF has no instruction for it. The result is seen by the verifier to fit a byte. */
static inline __u32 trie_count(__u64 bits) {
   bits -= bits >> 1 & 0x5555555555555555ull;
   bits = (bits & 0x3333333333333333ull) + (bits >> 2 & 0x3333333333333333ull);
   bits = (bits + (bits >> 4)) & 0x0f0f0f0f0f0f0f0full;
   return bits * 0x0101010101010101ull >> 56;
}

/* A slot's word in a branch. Counted from the words' front less one, for the verifier does not see that a count is not
 * zero. */
static inline __u32 const* trie_slot(struct trie_node const* branch, __u32 slot) {
   return (__u32 const*)branch + 1 + trie_count(branch->bits << (63 - slot));
}

/* Follows a word down to a leaf word. The address, 128 bits left-aligned, begins behind what led to the word. */
static __always_inline __u32 trie_walk(void const* memory, __u32 word, __u64 high, __u64 low) {
   for (int depth = 0; depth < TRIE_MAX_DEPTH && leaf_kind_of(word) >= LEAF_WIDE; ++depth) {
      struct trie_node const* const node = trie_at(memory, leaf_index_of(word));
      if (!node) return 0;
      __u32 taken = TRIE_STRIDE;
      if (leaf_kind_of(word) == LEAF_BRANCH) {
         word = trie_word(trie_slot(node, high >> 58));
      } else if (leaf_kind_of(word) == LEAF_WIDE) {
         word = trie_word((__u32 const*)node + (high >> 58));
      } else {
         __u64 const bits = node->bits;
         taken = bits & 63;
         if ((high ^ bits) >> 1 >> (63 - taken)) return trie_word(&node->word[0]);
         word = trie_word(&node->word[1]);
      }
      high = high << taken | low >> 1 >> (63 - taken);
      low <<= taken;
   }
   return word;
}

/* The leaf word for an address; an IPv4 address is the upper 32 bits of `high`. */
static __always_inline __u32 trie_lookup(void const* memory, struct trie_root const* root, __u64 high, __u64 low) {
   __u32 word = trie_word(&root->top);
   if (leaf_kind_of(word) == LEAF_TABLE) {
      __u32 const slot = high >> (64 - TRIE_TABLE_BITS);
      __u32 const words = TRIE_UNIT / sizeof(__u32);
      struct trie_node const* const line = trie_at(memory, leaf_index_of(word) + slot / words);
      if (!line) return 0;
      word = trie_word((__u32 const*)line + slot % words);
      high = high << TRIE_TABLE_BITS | low >> (64 - TRIE_TABLE_BITS);
      low <<= TRIE_TABLE_BITS;
   }
   word = trie_walk(memory, word, high, low);
   return word ? word : trie_word(&root->fallback);
}

#endif
