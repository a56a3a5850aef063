/* The hash of a flow: packets of one take one way, whatever the kernel makes of receive queues. */
#ifndef VELM_PLATFORM_LINUX_BPF_HASH_H
#define VELM_PLATFORM_LINUX_BPF_HASH_H

#include <linux/types.h>

/* Differs between switches, or one behind another would see only flows that all choose alike. */
const volatile __u64 hash_seed = 0;

static __always_inline __u64 hash_more(__u64 hash, __u64 word) {
   hash = (hash ^ word) * 0x9e3779b97f4a7c15ull;
   return hash ^ hash >> 32;
}
static __always_inline __u32 hash_end(__u64 hash) {
   hash *= 0xd6e8feb86659fd93ull;
   return hash >> 32;
}

#endif
