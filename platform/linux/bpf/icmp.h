/* The errors that a router owes (RFC 1812, RFC 4443): back to where the packet came from, from the port's address, no
 * more of them than the allowance. They say something of a packet that is dropped, so telling ends it. */
#ifndef VELM_PLATFORM_LINUX_BPF_ICMP_H
#define VELM_PLATFORM_LINUX_BPF_ICMP_H

#include <linux/in.h>
#include <linux/ip.h>
#include <linux/ipv6.h>

#include "platform/linux/bpf/frame.h"

/* Alike in both families; what the word at the end means depends on the type. */
struct icmp_header {
   __u8 type;
   __u8 code;
   __sum16 checksum;
   __be32 rest;
};

enum icmp_ipv4_type { ECHO_REPLY = 0, UNREACHABLE = 3, ECHO = 8, TIME_EXCEEDED = 11, TIMESTAMP = 13 };
enum icmp_ipv4_unreachable { NETWORK_UNREACHABLE = 0, FRAGMENTATION_NEEDED = 4, PROHIBITED = 13 };
enum icmp_ipv6_type { UNREACHABLE6 = 1, TOO_BIG6 = 2, TIME_EXCEEDED6 = 3, FIRST_INFORMATIONAL6 = 128 };
enum icmp_ipv6_unreachable { NO_ROUTE6 = 0, PROHIBITED6 = 1 };

/* How much of the packet an error quotes at most. */
#define QUOTE_IPV4 548                    /* the error has at most 576 bytes */
#define QUOTE_IPV6 1232                   /* 1280 */
#define SUM_AT_MOST (32 + 8 + QUOTE_IPV6) /* two addresses and a message */

#define ERRORS_PER_SECOND 1000 /* of each CPU */
#define ERRORS_AT_ONCE 50
#define NANOSECONDS 1000000000ull

static __always_inline int error_allowed(void) {
   __u32 const first = 0;
   struct error_allowance* const allowance = bpf_map_lookup_elem(&error_allowances, &first);
   if (!allowance) return 0;
   __u64 const now = bpf_ktime_get_ns();
   __u64 const each = NANOSECONDS / ERRORS_PER_SECOND;
   __u64 const most = now - ERRORS_AT_ONCE * each;
   /* A clock that runs a step for each error and may be behind by those that may come at once. */
   __u64 const clock = allowance->clock < most ? most : allowance->clock;
   if (clock + each > now) return 0;
   allowance->clock = clock + each;
   return 1;
}

/* Whoever sent it can be told; nothing is said of an error, of a later fragment, of what went to many. */
static __always_inline int may_tell_ipv4(struct iphdr const* ip, void const* end) {
   __u32 const source = bpf_ntohl(ip->saddr);
   if (source >> 28 >= 0xe || source >> 24 == 0 || source >> 24 == 127) return 0;
   if (ip->frag_off & bpf_htons(0x1fff)) return 0;
   if (ip->protocol != IPPROTO_ICMP) return 1;
   struct icmp_header const* const icmp = (void const*)(ip + 1);
   if ((void const*)(icmp + 1) > end) return 0;
   return icmp->type == ECHO || icmp->type == ECHO_REPLY || icmp->type == TIMESTAMP;
}

static __always_inline int may_tell_ipv6(struct ipv6hdr const* ip, void const* end) {
   if (ip->saddr.in6_u.u6_addr8[0] == 0xff || !(ip->saddr.in6_u.u6_addr32[0] | ip->saddr.in6_u.u6_addr32[1])) return 0;
   if (ip->nexthdr != IPPROTO_ICMPV6) return 1;
   struct icmp_header const* const icmp = (void const*)(ip + 1);
   if ((void const*)(icmp + 1) > end) return 0;
   return icmp->type >= FIRST_INFORMATIONAL6;
}

/* The sum of `length` bytes at an offset of the frame. A function of its own, so that it is verified once. */
static __noinline __u64 sum_from(struct xdp_md* ctx, __u32 offset, __u32 length) {
   __u64 sum = 0;
   void const* at = frame_begin(ctx) + (offset & 0x3f);
   void const* const end = frame_end(ctx);
   for (int i = 0; i < SUM_AT_MOST / 4; ++i) {
      if (length < 4 || at + 4 > end) break;
      sum += *(__u32 const*)at;
      at += 4;
      length -= 4;
   }
   for (int i = 0; i < 3; ++i) {
      if (!length || at + 1 > end) break;
      sum += (__u32)(*(__u8 const*)at) << 8 * (i & 1); /* as the low byte of a word of the machine's order */
      ++at;
      --length;
   }
   return sum;
}

static __always_inline void swap_macs(struct ethhdr* eth) {
   __u8 to[ETH_ALEN];
   __builtin_memcpy(to, eth->h_source, ETH_ALEN);
   __builtin_memcpy(eth->h_source, eth->h_dest, ETH_ALEN);
   __builtin_memcpy(eth->h_dest, to, ETH_ALEN);
}

/* Makes room for an error's headers before the packet, of which the first `quote` bytes stay, and puts the Ethernet
 * header, turned around, before them. Where the headers go, or null. */
static __always_inline void* make_error(struct xdp_md* ctx, struct frame const* frame, __u32 headers, __u32 quote) {
   int const surplus = (int)frame_size(ctx) - (int)(frame->l3 + quote);
   if (bpf_xdp_adjust_tail(ctx, -surplus)) return 0;
   if (bpf_xdp_adjust_head(ctx, -(int)headers)) return 0;
   void* const begin = frame_begin(ctx);
   void* const end = frame_end(ctx);
   struct ethhdr* const eth = begin;
   struct ethhdr const* const old = begin + headers;
   if ((void const*)(old + 1) + sizeof(struct vlan_tag) > end) return 0;
   *eth = *old;
   swap_macs(eth);
   if (frame->l3 == sizeof *eth) return eth + 1;
   struct vlan_tag* const tag = (void*)(eth + 1);
   *tag = *(struct vlan_tag const*)(old + 1);
   return tag + 1;
}

/* By a redirect as any frame that leaves: some drivers ask more of the other end for XDP_TX. */
static __always_inline int send_back(struct frame const* frame) {
   struct port_traffic* const traffic = traffic_of(frame->port);
   if (traffic) ++traffic->errors_sent;
   return bpf_redirect_map(&tx_ports, frame->port, XDP_DROP);
}

static __noinline int tell_ipv4(struct xdp_md* ctx, struct frame const* frame, __u8 type, __u8 code) {
   struct iphdr const* const about = l3_of(ctx, frame);
   if ((void*)(about + 1) > frame_end(ctx) || !may_tell_ipv4(about, frame_end(ctx))) return XDP_DROP;
   struct port const* const port = port_at(frame->port);
   if (!port || !port->ipv4 || !error_allowed()) return XDP_DROP;
   __be32 const to = about->saddr;

   struct error_ipv4 {
      struct iphdr ip;
      struct icmp_header icmp;
   } * error;
   __u32 const quote = frame->length < QUOTE_IPV4 ? frame->length : QUOTE_IPV4;
   error = make_error(ctx, frame, sizeof *error, quote);
   if (!error || (void*)(error + 1) > frame_end(ctx)) return XDP_DROP;
   *error = (struct error_ipv4){
      .ip = {.version = 4,
             .ihl = 5,
             .tos = 0xc0,
             .tot_len = bpf_htons(sizeof *error + quote),
             .frag_off = bpf_htons(0x4000),
             .ttl = 64,
             .protocol = IPPROTO_ICMP,
             .saddr = port->ipv4,
             .daddr = to},
      .icmp = {.type = type, .code = code, .rest = bpf_htonl(frame->mtu)},
   };
   __u64 sum = 0;
   for (int i = 0; i < 10; ++i) sum += ((__u16 const*)&error->ip)[i];
   error->ip.check = ~fold(sum);
   __u16 const check = ~fold(sum_from(ctx, frame->l3 + sizeof error->ip, sizeof error->icmp + quote));
   error = l3_of(ctx, frame);
   if ((void*)(error + 1) > frame_end(ctx)) return XDP_DROP;
   error->icmp.checksum = check;
   return send_back(frame);
}

static __noinline int tell_ipv6(struct xdp_md* ctx, struct frame const* frame, __u8 type, __u8 code) {
   struct ipv6hdr const* const about = l3_of(ctx, frame);
   if ((void*)(about + 1) > frame_end(ctx) || !may_tell_ipv6(about, frame_end(ctx))) return XDP_DROP;
   struct port const* const port = port_at(frame->port);
   if (!port || !*(__u64 const*)port->ipv6 || !error_allowed()) return XDP_DROP;
   struct in6_addr const to = about->saddr;

   struct error_ipv6 {
      struct ipv6hdr ip;
      struct icmp_header icmp;
   } * error;
   __u32 const quote = frame->length < QUOTE_IPV6 ? frame->length : QUOTE_IPV6;
   error = make_error(ctx, frame, sizeof *error, quote);
   if (!error || (void*)(error + 1) > frame_end(ctx)) return XDP_DROP;
   __u32 const length = sizeof error->icmp + quote;
   *error = (struct error_ipv6){
      .ip = {.version = 6, .payload_len = bpf_htons(length), .nexthdr = IPPROTO_ICMPV6, .hop_limit = 64, .daddr = to},
      .icmp = {.type = type, .code = code, .rest = bpf_htonl(frame->mtu)},
   };
   __builtin_memcpy(&error->ip.saddr, port->ipv6, sizeof error->ip.saddr);
   /* Both addresses and the message; of the pseudo header, length and protocol besides. */
   __u64 const sum = sum_from(ctx, frame->l3 + offsetof(struct ipv6hdr, saddr), 2 * sizeof(struct in6_addr) + length);
   __u16 const check = ~fold(sum + bpf_htonl(length) + bpf_htonl(IPPROTO_ICMPV6));
   error = l3_of(ctx, frame);
   if ((void*)(error + 1) > frame_end(ctx)) return XDP_DROP;
   error->icmp.checksum = check;
   return send_back(frame);
}

/* Tells the sender of a dropped packet what frame->error says. */
static __always_inline int tell(struct xdp_md* ctx, struct frame const* frame) {
   __u8 const error = frame->error;
   if (frame->ipv6) {
      return error == TELL_TTL_EXPIRED ? tell_ipv6(ctx, frame, TIME_EXCEEDED6, 0)
             : error == TELL_TOO_BIG
                ? tell_ipv6(ctx, frame, TOO_BIG6, 0)
                : tell_ipv6(ctx, frame, UNREACHABLE6, error == TELL_NO_ROUTE ? NO_ROUTE6 : PROHIBITED6);
   }
   return error == TELL_TTL_EXPIRED ? tell_ipv4(ctx, frame, TIME_EXCEEDED, 0)
                                    : tell_ipv4(ctx, frame, UNREACHABLE,
                                                error == TELL_TOO_BIG    ? FRAGMENTATION_NEEDED
                                                : error == TELL_NO_ROUTE ? NETWORK_UNREACHABLE
                                                                         : PROHIBITED);
}

#endif
