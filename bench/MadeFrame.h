/* Frames that BPF programs of benchmarks make: the smallest of UDP, each written anew, since frames come round with
 * what the last one has left in them. */
#ifndef VELM_BENCH_MADE_FRAME_H
#define VELM_BENCH_MADE_FRAME_H

/* The headers of libbpf need the kernel's types before them. */
/* clang-format off */
#include <linux/bpf.h>
#include <linux/if_ether.h>
#include <linux/in.h>
#include <linux/ip.h>
#include <linux/udp.h>

#include <bpf/bpf_endian.h>
#include <bpf/bpf_helpers.h>
/* clang-format on */

#define DESTINATIONS (1 << 20)
#define MADE_FLOWS 4096

/* As on the wire, in the lower half. */
struct {
   __uint(type, BPF_MAP_TYPE_ARRAY);
   __uint(map_flags, BPF_F_MMAPABLE);
   __uint(max_entries, DESTINATIONS);
   __type(key, __u32);
   __type(value, __u64);
} destinations SEC(".maps");

__u32 position; /* among them */

struct made_frame {
   struct ethhdr ethernet;
   struct iphdr ip;
   struct udphdr udp;
} __attribute__((packed));

/* From host 1 of a lab to the switch, as it is addressed there. Returns whether there was room. */
static __always_inline int make_frame(struct xdp_md* ctx) {
   struct made_frame* const frame = (void*)(long)ctx->data;
   __u32 const turn = position++ % DESTINATIONS;
   __u64 const* const destination = bpf_map_lookup_elem(&destinations, &turn);
   if (!destination || (void*)(frame + 1) > (void*)(long)ctx->data_end) return 0;
   __u32 const ip_length = (long)ctx->data_end - (long)ctx->data - sizeof frame->ethernet;
   *frame = (struct made_frame){
      .ethernet = {.h_dest = {2, 0, 0, 0, 1, 1}, .h_source = {2, 0, 0, 0, 2, 1}, .h_proto = bpf_htons(ETH_P_IP)},
      .ip = {.version = 4,
             .ihl = 5,
             .ttl = 64,
             .protocol = IPPROTO_UDP,
             .tot_len = bpf_htons(ip_length),
             .saddr = bpf_htonl(10u << 24 | 1u << 8 | 2u),
             .daddr = *destination},
      .udp = {.source = bpf_htons(1024 + turn % MADE_FLOWS),
              .dest = bpf_htons(9),
              .len = bpf_htons(ip_length - sizeof frame->ip)}};
   __u16 const* const words = (void const*)&frame->ip;
   __u32 sum = 0;
   for (int i = 0; i < 10; ++i) sum += words[i];
   sum = (sum & 0xffff) + (sum >> 16);
   frame->ip.check = ~((sum & 0xffff) + (sum >> 16));
   return 1;
}

#endif
