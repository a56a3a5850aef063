/* The memory that the agent and its BPF programs share, described once for both: C for the programs, C++ for the agent.
 * The agent writes, the programs read.
 *
 * Every array is BPF_F_MMAPABLE and written in place, so a change is what the next packet sees. What is published, a
 * leaf or the word that names a node, is one aligned store with release order; what it names is complete before and
 * stays as it is until no running program can still read it.
 *
 * Numbers are in host order. */
#ifndef VELM_PLATFORM_LINUX_BPF_LAYOUT_H
#define VELM_PLATFORM_LINUX_BPF_LAYOUT_H

#include <linux/types.h>

/* ---- Leaves ------------------------------------------------------------------------------------------------------ */

/* A leaf word says what becomes of a packet: a kind in the upper four bits and an index of 28. Zero is no route. */
enum leaf_kind {
   LEAF_NONE = 0,   /* no route */
   LEAF_GROUP = 1,  /* through the group of that index */
   LEAF_EXIT = 2,   /* through the exit of that index: a host that the kernel has resolved on a connected prefix */
   LEAF_DROP = 3,   /* a route that drops */
   LEAF_KERNEL = 4, /* an address of ours, or a connected prefix: the kernel's stack takes it */
   /* Inside tries only; the index is that of a unit of their memory. */
   LEAF_TABLE = 12,
   LEAF_WIDE = 13,
   LEAF_BRANCH = 14,
   LEAF_SKIP = 15,
};
#define LEAF_KIND_SHIFT 28
#define LEAF_INDEX_MASK 0x0fffffffu

static inline __u32 leaf_word(enum leaf_kind kind, __u32 index) {
   return (__u32)kind << LEAF_KIND_SHIFT | (index & LEAF_INDEX_MASK);
}
static inline __u32 leaf_kind_of(__u32 word) { return word >> LEAF_KIND_SHIFT; }
static inline __u32 leaf_index_of(__u32 word) { return word & LEAF_INDEX_MASK; }

/* ---- Tries: longest prefix match --------------------------------------------------------------------------------- */

/* All tries lie in one memory, an array of one element, in units of 16 bytes. A word of a trie is a leaf word, or names
 * the unit at which the next node begins; what a word names belongs to it alone. The words of a node that stands change
 * in place; a node of another shape is a new one, and the word that named the old one then names it.
 *
 * A table, at the top of the default VRF's tries, has a word for each value of the address's first 18 bits.
 *
 * A branch reads the next six bits. The 64 slots that they choose from lie in runs, neighbours that share a word:
 * `bits` has a bit where a run begins, the one of slot 0 is always set. A word of a further node is a run of one slot.
 * So a branch of up to 14 runs is one line of the processor's cache. One of more is wide: a word for each slot, and no
 * bits.
 *
 * A skip holds the bits that the address must have next, left-aligned in `bits` above the six that say how many they
 * are, 1 to 58: if it has them, word[1] goes on behind them, else word[0] is the leaf.
 *
 * IPv4 addresses are the upper 32 of 128 bits. */
struct trie_node {
   __u64 bits;
   __u32 word[14]; /* as many as there are runs, or two: a node has no more memory than it needs */
};
#define TRIE_UNIT 16
#define TRIE_TABLE_BITS 18
#define TRIE_STRIDE 6
#define TRIE_MAX_SKIP 58
/* A way has at most this many nodes: each but the last takes at least six of 128 bits. */
#define TRIE_MAX_DEPTH 22
/* Behind each unit that a word names so many more belong to the memory: no count of runs leads out of it. */
#define TRIE_REACH 64

/* A trie, of a VRF and a family. All zero is an empty one. Where a shorter prefix says nothing the words are 0, and the
 * answer is what the default route says. */
struct trie_root {
   __u32 top; /* a word as in a node */
   __u32 fallback;
};

#endif
