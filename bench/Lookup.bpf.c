/* Many lookups a run, each begun when the one before has its answer, and as many reads of memory at random. */
#include "platform/linux/bpf/tries.h"

#define LOOKUPS 64
#define ADDRESSES (1 << 20)
#define READS (1 << 25) /* 128 MiB */

struct address {
   __u64 high;
   __u64 low;
};

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, ADDRESSES);
   __uint(key_size, sizeof(__u32));
   __uint(value_size, sizeof(struct address));
} addresses SEC(".maps");

/* Each word names the next. */
struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __uint(key_size, sizeof(__u32));
   __uint(value_size, READS * sizeof(__u32));
} reads SEC(".maps");

struct trie_root root;
__u32 position;
__u32 sum;

static __noinline __u32 look_up(void const* memory, __u64 high, __u64 low) {
   return trie_lookup(memory, &root, high, low);
}

SEC("xdp")
int look_up_many(struct xdp_md* ctx) {
   void const* const memory = trie_memory();
   __u32 at = position;
   __u32 leaf = 0;
   if (!memory) return XDP_ABORTED;
   for (int i = 0; i < LOOKUPS; ++i) {
      __u32 const next = (at + i + (leaf >> 31)) % ADDRESSES; /* no leaf has that bit */
      struct address const* const address = bpf_map_lookup_elem(&addresses, &next);
      if (!address) return XDP_ABORTED;
      leaf = look_up(memory, address->high, address->low);
      sum += leaf;
   }
   position = at + LOOKUPS;
   return XDP_PASS;
}

SEC("xdp")
int read_many(struct xdp_md* ctx) {
   __u32 const first = 0;
   __u32 const* const words = bpf_map_lookup_elem(&reads, &first);
   __u32 at = position;
   if (!words) return XDP_ABORTED;
   for (int i = 0; i < LOOKUPS; ++i) at = words[at % READS];
   position = at;
   return XDP_PASS;
}

char _license[] SEC("license") = "GPL";
