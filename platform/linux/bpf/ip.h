/* The road of an IP packet up to its leaf: what is wrong with it, whether it is the kernel's, its flow. */
#ifndef VELM_PLATFORM_LINUX_BPF_IP_H
#define VELM_PLATFORM_LINUX_BPF_IP_H

#include <linux/in.h>
#include <linux/ip.h>
#include <linux/ipv6.h>

#include "platform/linux/bpf/frame.h"
#include "platform/linux/bpf/hash.h"
#include "platform/linux/bpf/lookup.h"

/* Source and destination port, where the protocol has them there, else 0. */
static __always_inline __u32 transport_ports(__u8 protocol, void const* transport, void const* end) {
   if (protocol != IPPROTO_TCP && protocol != IPPROTO_UDP && protocol != IPPROTO_SCTP) return 0;
   return transport + 4 > end ? 0 : *(__u32 const*)transport;
}

/* A hash with what tells the packet's flow. All fragments of a packet go one way, so none tells its ports. */
static __always_inline __u64 hash_ipv4(__u64 hash, struct iphdr const* ip, void const* end) {
   int const fragment = !!(ip->frag_off & bpf_htons(0x3fff));
   hash = hash_more(hash, (__u64)ip->saddr << 32 | ip->daddr);
   return hash_more(hash, (__u64)ip->protocol << 32 | (fragment ? 0 : transport_ports(ip->protocol, ip + 1, end)));
}

static __always_inline __u64 hash_ipv6(__u64 hash, struct ipv6hdr const* ip, void const* end) {
   __u64 const* const addresses = (__u64 const*)&ip->saddr;
   hash = hash_more(hash, addresses[0]);
   hash = hash_more(hash, addresses[1]);
   hash = hash_more(hash, addresses[2]);
   hash = hash_more(hash, addresses[3]);
   __u64 const flow_label = bpf_ntohl(*(__be32 const*)ip) & 0xfffff;
   return hash_more(hash, flow_label << 40 | (__u64)ip->nexthdr << 32 | transport_ports(ip->nexthdr, ip + 1, end));
}

/* Lowers a TTL that is higher, and mends the checksum that covers it. */
static __always_inline void limit_ttl_ipv4(struct iphdr* ip, __u8 most) {
   if (ip->ttl <= most) return;
   __u16 const before = bpf_htons((__u16)ip->ttl << 8);
   ip->ttl = most;
   ip->check = ~fold((__u64)(__u16)~ip->check + (__u16)~before + bpf_htons((__u16)most << 8));
}
static __always_inline void limit_ttl_ipv6(struct ipv6hdr* ip, __u8 most) {
   if (ip->hop_limit > most) ip->hop_limit = most;
}

/* What the VRF of the frame says of an address; an IPv4 one is the upper 32 bits. */
static __always_inline int look_up(struct frame const* frame, __u64 high, __u64 low, __u32* leaf) {
   struct vrf const* const vrf = vrf_at(frame->vrf);
   void const* const memory = trie_memory();
   if (!vrf || !memory) return XDP_PASS;
   *leaf = trie_lookup(memory, frame->ipv6 ? &vrf->ipv6 : &vrf->ipv4, high, low);
   return GO_ON;
}

/* Of this host, of this network, multicast, reserved: nothing that a router forwards. */
static __always_inline int odd_ipv4(__u32 address) {
   return address >> 24 == 0 || address >> 24 == 127 || address >> 28 >= 0xe;
}

/* Reads the packet and says what its destination leads to. GO_ON, or how the frame's road ends here. */
static __always_inline int look_up_ipv4(struct xdp_md* ctx, struct frame* frame, __u32* leaf) {
   void const* const end = frame_end(ctx);
   struct iphdr* const ip = l3_of(ctx, frame);
   if ((void const*)(ip + 1) > end) return drop(frame, DROP_SHORT_FRAME);
   frame->length = bpf_ntohs(ip->tot_len);
   if (ip->version != 4 || ip->ihl < 5 || frame->length < ip->ihl * 4 || (void const*)ip + frame->length > end) {
      return drop(frame, DROP_BAD_HEADER);
   }
   if (ip->ihl > 5) return XDP_PASS; /* options */
   __u64 sum = 0;
   for (int i = 0; i < 10; ++i) sum += ((__u16 const*)ip)[i];
   if (fold(sum) != 0xffff) return drop(frame, DROP_BAD_CHECKSUM);
   __u32 const destination = bpf_ntohl(ip->daddr);
   if (odd_ipv4(destination) || odd_ipv4(bpf_ntohl(ip->saddr))) return XDP_PASS;

   if (frame->most_ttl) limit_ttl_ipv4(ip, frame->most_ttl);
   frame->ttl = ip->ttl;
   frame->tos = ip->tos;
   frame->dont_fragment = !!(ip->frag_off & bpf_htons(0x4000));
   frame->hash = hash_end(hash_ipv4(hash_seed, ip, end));
   return look_up(frame, (__u64)destination << 32, 0, leaf);
}

static __always_inline int odd_ipv6(struct in6_addr const* address) {
   __be32 const first = address->in6_u.u6_addr32[0];
   if ((first & bpf_htonl(0xff000000)) == bpf_htonl(0xff000000)) return 1;      /* multicast */
   if ((first & bpf_htonl(0xffc00000)) == bpf_htonl(0xfe800000)) return 1;      /* of the link */
   return !(first | address->in6_u.u6_addr32[1] | address->in6_u.u6_addr32[2]); /* none, loopback, mapped IPv4 */
}

static __always_inline int look_up_ipv6(struct xdp_md* ctx, struct frame* frame, __u32* leaf) {
   void const* const end = frame_end(ctx);
   struct ipv6hdr* const ip = l3_of(ctx, frame);
   if ((void const*)(ip + 1) > end) return drop(frame, DROP_SHORT_FRAME);
   frame->length = sizeof *ip + bpf_ntohs(ip->payload_len);
   if (ip->version != 6 || (void const*)ip + frame->length > end) return drop(frame, DROP_BAD_HEADER);
   if (ip->nexthdr == IPPROTO_HOPOPTS) return XDP_PASS; /* options */
   if (odd_ipv6(&ip->daddr) || odd_ipv6(&ip->saddr)) return XDP_PASS;

   if (frame->most_ttl) limit_ttl_ipv6(ip, frame->most_ttl);
   frame->ttl = ip->hop_limit;
   frame->tos = bpf_ntohl(*(__be32 const*)ip) >> 20;
   frame->hash = hash_end(hash_ipv6(hash_seed, ip, end));
   __u64 const* const destination = (__u64 const*)&ip->daddr;
   return look_up(frame, bpf_be64_to_cpu(destination[0]), bpf_be64_to_cpu(destination[1]), leaf);
}

#endif
