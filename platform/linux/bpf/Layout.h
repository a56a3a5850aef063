/* The one description of the memory that the agent and its XDP program share, read by both: C for the program, C++ for
 * the agent. The agent writes, the program reads; counters alone go the other way.
 *
 *   port_of --> ports --> vrfs --> trie nodes  --> leaf --> groups --> buckets --> exits --> tx_ports
 *  (ifindex,   (VRF,     (roots)   (the tries)      word    (choice)  (by hash)   (what to  (redirect)
 *   VLAN id)    MAC...)                              ^                              write)
 *                  |                                 |
 *                  +---> labels (by the top label) --+--> vrfs
 *
 * Every array is BPF_F_MMAPABLE and written in place, so a change is what the next packet sees. What is published, a
 * leaf, a node, a group, is one aligned store of 4 or 8 bytes with release order; what it points at is complete
 * before and stays as it is until no running program can still read it.
 *
 * Numbers are in host order; addresses, labels on the wire and MACs as bytes in network order. */
#ifndef VELM_PLATFORM_LINUX_BPF_LAYOUT_H
#define VELM_PLATFORM_LINUX_BPF_LAYOUT_H

#include <linux/types.h>

/* Raised with every change of this page: an agent takes over pinned maps of its own layout only. */
#define LAYOUT_VERSION 2

/* ---- Leaves ------------------------------------------------------------------------------------------------------ */

/* A leaf word says what becomes of a packet: a kind in the upper four bits and an index of 28. Zero is no route. */
enum leaf_kind {
   LEAF_NONE = 0,   /* no route */
   LEAF_GROUP = 1,  /* through groups[index] */
   LEAF_EXIT = 2,   /* through exits[index]: a host that the kernel has resolved on a connected prefix */
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

/* ---- Labels ----------------------------------------------------------------------------------------------------- */

/* What becomes of a packet by its top label, a word for each label there can be. Zero is one that is not ours. The
 * lower half is a leaf word, or the index of a VRF. */
typedef __u64 label_word;
#define LABEL_COUNT (1u << 20)

enum label_action {
   LABEL_UNKNOWN = 0,
   LABEL_KEEP = 1, /* it stays, unless the exit takes it; on by the leaf */
   LABEL_POP = 2,  /* it is taken off; on by the leaf */
   LABEL_VRF = 3,  /* it is the last one and is taken off; on by what the VRF says of the packet */
};
#define LABEL_ACTION_SHIFT 32
/* What is uncovered keeps its TTL and EXP; without this it gets those of the label, the TTL if that is lower. */
#define LABEL_PIPE (1ull << 40)
/* The version of IP that is under the last label, if it may be one only; else 0. */
#define LABEL_VERSION_SHIFT 44

static inline label_word label_of(enum label_action action, __u32 what) {
   return (__u64)action << LABEL_ACTION_SHIFT | what;
}
static inline enum label_action label_action_of(label_word word) {
   return (enum label_action)(word >> LABEL_ACTION_SHIFT & 0xf);
}

/* An entry of a label stack, as a number. */
#define STACK_LABEL_SHIFT 12
#define STACK_EXP_SHIFT 9
#define STACK_BOTTOM (1u << 8)
enum reserved_label {
   EXPLICIT_NULL_IPV4 = 0,
   ROUTER_ALERT = 1,
   EXPLICIT_NULL_IPV6 = 2,
   IMPLICIT_NULL = 3, /* means no label and is on no packet */
};

/* ---- Ports: where frames come in --------------------------------------------------------------------------------- */

#define MAX_PORTS 1024
#define MAX_VRFS 256

/* A frame belongs to the port of the device on which it came and of its VLAN tag; 0 is no tag. */
struct port_key {
   __u32 ifindex;
   __u16 vlan;
   __u16 unused;
};

/* A MAC as a word: its six bytes as on the wire, then two of zero. No MAC is 0. */
typedef __u64 mac_word;

struct port {
   mac_word mac; /* frames to others are the kernel's */
   __u32 vrf;    /* index of vrfs */
   __u32 ipv4;   /* what ICMP errors are sent from, as on the wire; 0 sends none */
   __u8 ipv6[16];
   __u32 ifindex; /* of the interface in the kernel, which a tunnel may tell of */
   __u32 policy;  /* whose redirects hold for what comes in here; 0 for none */
};

struct vrf {
   struct trie_root ipv4;
   struct trie_root ipv6;
};

/* ---- Ways out ---------------------------------------------------------------------------------------------------- */

/* A group is one word: where its buckets lie, and how many, as a power of two. Zero is a name that is known and no
 * group; one whose members are all unusable exists and has no buckets. */
typedef __u64 group_word;
#define GROUP_EXISTS (1ull << 63)
#define GROUP_ALIVE (1ull << 62)
#define GROUP_SIZE_SHIFT 32 /* log2 of the number of buckets, in six bits; the first one's index is below */

static inline group_word group_of(__u32 first, __u32 log2size) {
   return GROUP_EXISTS | GROUP_ALIVE | (__u64)log2size << GROUP_SIZE_SHIFT | first;
}
static inline __u32 group_first(group_word group) { return (__u32)group; }
static inline __u32 group_size(group_word group) { return 1u << (group >> GROUP_SIZE_SHIFT & 0x1f); }

/* A bucket is an exit and, above it, whose counter it raises. */
typedef __u64 bucket_word;
static inline bucket_word bucket_of(__u32 exit, __u32 counter) { return (__u64)counter << 32 | exit; }
static inline __u32 bucket_exit(bucket_word bucket) { return (__u32)bucket; }
static inline __u32 bucket_counter(bucket_word bucket) { return bucket >> 32; }

/* A neighbour as frames reach it. Its MAC changes by one store. */
struct hop {
   mac_word to; /* 0: not resolved */
   mac_word from;
   __u32 port; /* index of ports and of tx_ports */
   __u16 mtu;  /* of what follows the Ethernet header */
   __u16 vlan; /* tag as on the wire, 0 for none */
};

enum exit_kind {
   EXIT_PLAIN = 0,
   EXIT_LABELS = 1, /* push is labels, as the words of the wire without EXP and TTL, which the packet gives */
   EXIT_IPV4 = 2,   /* push is an IPv4 header as for an IPv4 packet, a GRE or UDP header if one follows, and labels */
   EXIT_IPV6 = 3,   /* likewise */
};
#define MAX_LABELS 16
#define MAX_PUSH 116 /* an IPv6 and a GRE header with key, and sixteen labels, fit */

/* What is written before the packet. Never changed once a bucket or leaf names it, but for its hop's words. */
struct exit_row {
   __u32 hop;
   __u8 kind;
   __u8 length; /* of push, a multiple of four */
   __u8 labels; /* how many words of it, at its end, are labels */
   __u8 ttl;    /* of the outer header; 0 takes the packet's */
   __u8 takes;  /* of a packet that comes with a label the top one, before anything is written */
   __u8 unused[3];
   __u8 push[MAX_PUSH];
};

/* ---- Redirects ----------------------------------------------------------------------------------------------------
 */

/* What would leave through a group leaves, by its DSCP, through another: a leaf word, or 0 where it leaves as it would.
 * IPv4 first. Which row is that of a policy and a group a hash says. */
struct redirect_row {
   __u32 leaf[2][64];
};
struct redirect_key {
   __u32 policy;
   __u32 group;
};
#define MAX_REDIRECT_ROWS (1u << 14)

/* ---- Counters: a slice for each possible CPU, so that counting is a plain add ------------------------------------ */

enum drop_reason {
   DROP_SHORT_FRAME,
   DROP_BAD_HEADER,
   DROP_BAD_CHECKSUM,
   DROP_NO_ROUTE,
   DROP_BY_ROUTE,
   DROP_NO_GROUP,
   DROP_INACTIVE_GROUP,
   DROP_UNRESOLVED,
   DROP_TTL_EXPIRED,
   DROP_TOO_BIG,
   DROP_NO_HEADROOM,
   DROP_UNKNOWN_LABEL,
   DROP_REASONS, /* how many there are */
};
#define MAX_DROP_REASONS 32

struct traffic {
   __u64 packets;
   __u64 octets;
};

/* Of the entries of groups: as many for exits as there are exits, then those of groups that have their own. */
#define OWN_COUNTERS (1u << 14)

/* Since when errors were sent, as a time that moves on by a step for each. */
struct error_allowance {
   __u64 clock; /* ns */
};

/* What a port's frames came to, beside what its device counts itself. */
struct port_traffic {
   struct traffic forwarded;
   __u64 dropped;
   __u64 errors_sent; /* ICMP */
};

#endif
