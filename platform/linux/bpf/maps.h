/* The maps of Layout.h, and how the program reads them. The agent sets their sizes before it loads the program.
 *
 * An index that comes out of shared memory is always in range; the lookups' checks are for the verifier. */
#ifndef VELM_PLATFORM_LINUX_BPF_MAPS_H
#define VELM_PLATFORM_LINUX_BPF_MAPS_H

#include <bpf/bpf_helpers.h>
#include <linux/bpf.h>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/bpf/tries.h"

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, MAX_VRFS);
   __type(key, __u32);
   __type(value, struct vrf);
} vrfs SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, LABEL_COUNT);
   __type(key, __u32);
   __type(value, label_word);
} labels SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, group_word);
} groups SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, bucket_word);
} buckets SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, struct exit_row);
} exits SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, struct hop);
} hops SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, MAX_PORTS);
   __type(key, __u32);
   __type(value, struct port);
} ports SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_HASH);
   __uint(max_entries, MAX_PORTS);
   __type(key, struct port_key);
   __type(value, __u32);
} port_of SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_DEVMAP);
   __uint(max_entries, MAX_PORTS);
   __type(key, __u32);
   __type(value, __u32);
} tx_ports SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_HASH);
   __uint(map_flags, BPF_F_NO_PREALLOC);
   __uint(max_entries, MAX_REDIRECT_ROWS);
   __type(key, struct redirect_key);
   __type(value, __u32);
} redirect_of SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, MAX_REDIRECT_ROWS);
   __type(key, __u32);
   __type(value, struct redirect_row);
} redirects SEC(".maps");

/* Slices for each possible CPU, one after the other. */
struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, __u64);
} drops SEC(".maps");

struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, struct port_traffic);
} port_traffic SEC(".maps");

/* Slices as well, each of that many. */
struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, struct traffic);
} entry_traffic SEC(".maps");
const volatile __u32 entry_counters = 0;

/* Of a CPU, so that nobody else writes it meanwhile. */
struct {
   __uint(type, BPF_MAP_TYPE_PERCPU_ARRAY);
   __uint(max_entries, 1);
   __type(key, __u32);
   __type(value, struct error_allowance);
} error_allowances SEC(".maps");

static __always_inline struct port* port_at(__u32 index) { return bpf_map_lookup_elem(&ports, &index); }
static __always_inline struct vrf* vrf_at(__u32 index) { return bpf_map_lookup_elem(&vrfs, &index); }
static __always_inline struct exit_row* exit_at(__u32 index) { return bpf_map_lookup_elem(&exits, &index); }
static __always_inline struct hop* hop_at(__u32 index) { return bpf_map_lookup_elem(&hops, &index); }

#endif
