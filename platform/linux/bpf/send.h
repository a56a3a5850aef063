/* From a group to the wire: the choice of a member, and the frame that leaves by it. */
#ifndef VELM_PLATFORM_LINUX_BPF_SEND_H
#define VELM_PLATFORM_LINUX_BPF_SEND_H

#include <linux/ip.h>
#include <linux/ipv6.h>
#include <linux/udp.h>

#include "platform/linux/bpf/ip.h"

/* The leaf for a packet that would leave through a group, by its DSCP. What is redirected is not redirected again. */
static __always_inline __u32 redirected(__u32 leaf, struct frame const* frame) {
   if (!frame->policy || frame->labelled || leaf_kind_of(leaf) != LEAF_GROUP) return leaf;
   struct redirect_key const key = {.policy = frame->policy, .group = leaf_index_of(leaf)};
   __u32 const* const index = bpf_map_lookup_elem(&redirect_of, &key);
   struct redirect_row const* const row = index ? bpf_map_lookup_elem(&redirects, index) : 0;
   __u32 const other = row ? *(__u32 const volatile*)&row->leaf[frame->ipv6 & 1][frame->tos >> 2 & 63] : 0;
   return other ? other : leaf;
}

/* The exit that a leaf's way leads to, or null; *reason tells why not. */
static __always_inline struct exit_row* choose(__u32 leaf, struct frame* frame, enum drop_reason* reason) {
   __u32 index = leaf_index_of(leaf);
   if (leaf_kind_of(leaf) == LEAF_EXIT) return exit_at(index);
   group_word* const word = bpf_map_lookup_elem(&groups, &index);
   group_word const group = word ? *(group_word volatile*)word : 0;
   if (!(group & GROUP_ALIVE)) {
      *reason = group & GROUP_EXISTS ? DROP_INACTIVE_GROUP : DROP_NO_GROUP;
      return 0;
   }
   __u32 place = group_first(group) + (frame->hash & (group_size(group) - 1));
   bucket_word* const bucket = bpf_map_lookup_elem(&buckets, &place);
   if (!bucket) return 0;
   bucket_word const chosen = *(bucket_word volatile*)bucket;
   frame->counter = bucket_counter(chosen);
   return exit_at(bucket_exit(chosen));
}

/* Lowers what the packet may still travel, and mends the checksum that covers it. The header is within the frame. */
static __always_inline void lower_ttl(void* l3, int ipv6) {
   if (ipv6) {
      --((struct ipv6hdr*)l3)->hop_limit;
      return;
   }
   struct iphdr* const ip = l3;
   /* One less in the upper byte of a word is one more in the sum's complement (RFC 1624). */
   __u32 const sum = ip->check + bpf_htons(0x0100);
   ip->check = sum + (sum >= 0xffff);
   --ip->ttl;
}

/* A label is taken off and another one uncovered. */
static __always_inline void uncover_label(__be32* at, struct frame const* frame) {
   __u32 entry = bpf_ntohl(*at);
   __u8 const ttl = frame->ttl - 1;
   if ((__u8)entry > ttl) entry = (entry & ~0xffu) | ttl;
   entry = (entry & ~(7u << STACK_EXP_SHIFT)) | (__u32)(frame->tos >> 5) << STACK_EXP_SHIFT;
   *at = bpf_htonl(entry);
}

/* The last label is taken off and nothing is written in its place: it goes on as IP. GO_ON, or how it ends. */
static __always_inline int uncover_ip(struct xdp_md* ctx, struct frame* frame) {
   void* const end = frame_end(ctx);
   struct iphdr* const ipv4 = l3_of(ctx, frame);
   if ((void*)(ipv4 + 1) > end) return drop(frame, DROP_SHORT_FRAME);
   if (frame->version && ipv4->version != frame->version) return drop(frame, DROP_BAD_HEADER);
   if (ipv4->version == 4) {
      __u32 const length = bpf_ntohs(ipv4->tot_len);
      if (length < sizeof *ipv4 || length > frame->length) return drop(frame, DROP_BAD_HEADER);
      frame->length = length;
      if (!frame->pipe) limit_ttl_ipv4(ipv4, frame->ttl - 1);
      return GO_ON;
   }
   struct ipv6hdr* const ipv6 = l3_of(ctx, frame);
   if (ipv6->version != 6) return drop(frame, DROP_BAD_HEADER);
   if ((void*)(ipv6 + 1) > end) return drop(frame, DROP_SHORT_FRAME);
   __u32 const length = sizeof *ipv6 + bpf_ntohs(ipv6->payload_len);
   if (length > frame->length) return drop(frame, DROP_BAD_HEADER);
   frame->ipv6 = 1;
   frame->length = length;
   if (!frame->pipe) limit_ttl_ipv6(ipv6, frame->ttl - 1);
   return GO_ON;
}

static __always_inline int takes_label(struct frame const* frame, struct exit_row const* exit) {
   return frame->labelled && (frame->pops || exit->takes);
}

/* Does to a labelled packet what is to be done before anything is written. GO_ON, or how its road ends. */
static __always_inline int prepare_labelled(struct xdp_md* ctx, struct frame* frame, struct exit_row const* exit) {
   __be32* const top = l3_of(ctx, frame);
   void* const end = frame_end(ctx);
   if ((void*)(top + 1) > end) return drop(frame, DROP_SHORT_FRAME);
   __u32 const entry = bpf_ntohl(*top);
   if (!takes_label(frame, exit)) {
      *top = bpf_htonl(entry - 1); /* the TTL, which is not 0 */
      return GO_ON;
   }
   frame->l3 += sizeof entry;
   frame->length -= sizeof entry;
   if (!(entry & STACK_BOTTOM)) {
      if ((void*)(top + 2) > end) return drop(frame, DROP_SHORT_FRAME);
      if (!exit->labels && !frame->pipe) uncover_label(top + 1, frame);
      return GO_ON;
   }
   frame->labelled = 0;
   return exit->labels ? GO_ON : uncover_ip(ctx, frame);
}

static __always_inline int prepare_ip(struct xdp_md* ctx, struct frame* frame) {
   void* const l3 = l3_of(ctx, frame);
   if (l3 + sizeof(struct ipv6hdr) > frame_end(ctx) && (frame->ipv6 || l3 + sizeof(struct iphdr) > frame_end(ctx))) {
      return drop(frame, DROP_SHORT_FRAME);
   }
   lower_ttl(l3, frame->ipv6);
   return GO_ON;
}

/* Writes what stands before the packet. Null if the frame is too short for it, which it is not. */
static __always_inline void* write_push(void* at, void* end, struct exit_row const* exit, struct frame const* frame) {
   __u32 const words = exit->length / 4;
   __u32 const first_label = words - exit->labels;
   /* A label has the packet's TTL, and of its DSCP the upper three bits. */
   __u32 const ttl = frame->ttl - 1;
   __u32 const exp_ttl = (frame->tos >> 5) << 9 | ttl;
   __u32 const* const push = (__u32 const*)exit->push;
   __be32 const kept = frame->labelled ? ~bpf_htonl(STACK_BOTTOM) : ~0u; /* the bottom lies deeper */
   for (__u32 i = 0; i < MAX_PUSH / 4; ++i) {
      if (i >= words) break;
      if (at + 4 > end) return 0;
      *(__u32*)at = i < first_label ? push[i] : (push[i] & kept) | bpf_htonl(exp_ttl);
      at += 4;
   }
   return at;
}

struct gre_header {
   __be16 flags;
   __be16 protocol;
};
#define GRE_KEY 0x2000 /* a key follows, which says by which interface the packet came */

static __always_inline __be16 type_of(struct frame const* frame) {
   return frame->labelled ? bpf_htons(ETH_P_MPLS_UC) : frame->ipv6 ? bpf_htons(ETH_P_IPV6) : bpf_htons(ETH_P_IP);
}

/* The protocol of what is within: the agent wrote that of an IPv4 packet, or of labels, which stays. */
static __always_inline __u8 protocol_within(__u8 written, struct frame const* frame) {
   if (written != IPPROTO_IPIP) return written;
   return frame->labelled ? IPPROTO_MPLS : frame->ipv6 ? IPPROTO_IPV6 : IPPROTO_IPIP;
}

/* Completes the header between the outer IP header and what is within: `length` is from it to the packet's end. */
static __always_inline int mend_inner(void* at, void* end, __u8 protocol, __u32 length, struct exit_row const* exit,
                                      struct frame const* frame) {
   if (protocol == IPPROTO_GRE) {
      struct gre_header* const gre = at;
      if ((void*)(gre + 1) > end) return -1;
      if (!exit->labels) gre->protocol = type_of(frame);
      __be32* const key = (void*)(gre + 1);
      if (!(gre->flags & bpf_htons(GRE_KEY))) return 0;
      struct port const* const port = port_at(frame->port);
      if ((void*)(key + 1) > end || !port) return -1;
      *key = bpf_htonl(port->ifindex);
   } else if (protocol == IPPROTO_UDP) {
      struct udphdr* const udp = at;
      if ((void*)(udp + 1) > end) return -1;
      udp->source = bpf_htons(0xc000 | (frame->hash & 0x3fff)); /* spreads flows where labels are not looked at */
      udp->len = bpf_htons(length);
   }
   return 0;
}

/* Completes an outer header, which is as the agent wrote it but for what each packet has of its own. */
static __always_inline int mend_outer_ipv4(void* at, void* end, __u32 length, struct exit_row const* exit,
                                           struct frame const* frame) {
   struct iphdr* const outer = at;
   if ((void*)(outer + 1) > end) return -1;
   outer->tot_len = bpf_htons(length);
   outer->tos = frame->tos;
   outer->ttl = exit->ttl ? exit->ttl : frame->ttl - 1;
   outer->protocol = protocol_within(outer->protocol, frame);
   outer->check = 0;
   __u64 sum = 0;
   for (int i = 0; i < 10; ++i) sum += ((__u16 const*)outer)[i];
   outer->check = ~fold(sum);
   return mend_inner(outer + 1, end, outer->protocol, length - sizeof *outer, exit, frame);
}

static __always_inline int mend_outer_ipv6(void* at, void* end, __u32 length, struct exit_row const* exit,
                                           struct frame const* frame) {
   struct ipv6hdr* const outer = at;
   if ((void*)(outer + 1) > end) return -1;
   *(__be32*)outer = bpf_htonl(6u << 28 | (__u32)frame->tos << 20 | (frame->hash & 0xfffff));
   outer->payload_len = bpf_htons(length - sizeof *outer);
   outer->hop_limit = exit->ttl ? exit->ttl : frame->ttl - 1;
   outer->nexthdr = protocol_within(outer->nexthdr, frame);
   return mend_inner(outer + 1, end, outer->nexthdr, length - sizeof *outer, exit, frame);
}

static __always_inline __be16 type_after(struct exit_row const* exit, struct frame const* frame) {
   switch (exit->kind) {
      case EXIT_LABELS: return bpf_htons(ETH_P_MPLS_UC);
      case EXIT_IPV4: return bpf_htons(ETH_P_IP);
      case EXIT_IPV6: return bpf_htons(ETH_P_IPV6);
      default: return type_of(frame);
   }
}

static __always_inline void write_ethernet(void* at, struct hop const* hop, mac_word to, __be16 type) {
   struct ethhdr* const eth = at;
   mac_word const from = hop->from;
   __builtin_memcpy(eth->h_dest, &to, ETH_ALEN);
   __builtin_memcpy(eth->h_source, &from, ETH_ALEN);
   if (!hop->vlan) {
      eth->h_proto = type;
      return;
   }
   struct vlan_tag* const tag = (void*)(eth + 1);
   eth->h_proto = bpf_htons(ETH_P_8021Q);
   tag->tci = hop->vlan;
   tag->protocol = type;
}

static __always_inline void count(struct traffic* traffic, __u32 octets) {
   ++traffic->packets;
   traffic->octets += octets;
}

static __always_inline int leave(struct xdp_md* ctx, struct frame* frame, struct exit_row const* exit,
                                 struct hop const* hop, mac_word to) {
   __u32 const ethernet = sizeof(struct ethhdr) + (hop->vlan ? sizeof(struct vlan_tag) : 0);
   __u32 const before = ethernet + exit->length;
   if (bpf_xdp_adjust_head(ctx, (int)frame->l3 - (int)before)) return drop(frame, DROP_NO_HEADROOM);
   void* const begin = frame_begin(ctx);
   void* const end = frame_end(ctx);
   if (begin + sizeof(struct ethhdr) + sizeof(struct vlan_tag) > end) return drop(frame, DROP_SHORT_FRAME);
   write_ethernet(begin, hop, to, type_after(exit, frame));
   void* const l3 = hop->vlan ? begin + sizeof(struct ethhdr) + sizeof(struct vlan_tag) : begin + sizeof(struct ethhdr);
   if (exit->length && !write_push(l3, end, exit, frame)) return drop(frame, DROP_SHORT_FRAME);
   __u32 const length = exit->length + frame->length;
   if (exit->kind == EXIT_IPV4 && mend_outer_ipv4(l3, end, length, exit, frame)) return drop(frame, DROP_SHORT_FRAME);
   if (exit->kind == EXIT_IPV6 && mend_outer_ipv6(l3, end, length, exit, frame)) return drop(frame, DROP_SHORT_FRAME);
   struct port_traffic* const traffic = traffic_of(frame->port);
   if (traffic) count(&traffic->forwarded, length);
   __u32 const counter = bpf_get_smp_processor_id() * entry_counters + frame->counter;
   struct traffic* const entry = frame->counter ? bpf_map_lookup_elem(&entry_traffic, &counter) : 0;
   if (entry) count(entry, length);
   return bpf_redirect_map(&tx_ports, hop->port, XDP_DROP);
}

/* Sends a packet, whose header or top label has been checked, on the way that the leaf names. */
static __always_inline int send(struct xdp_md* ctx, struct frame* frame, __u32 leaf) {
   enum drop_reason reason = DROP_UNRESOLVED;
   struct exit_row const* const exit = choose(redirected(leaf, frame), frame, &reason);
   if (!exit) return drop(frame, reason);
   struct hop const* const hop = hop_at(exit->hop);
   mac_word const to = hop ? *(volatile mac_word const*)&hop->to : 0;
   if (!to) return drop(frame, DROP_UNRESOLVED);
   if (frame->length + exit->length > hop->mtu + (takes_label(frame, exit) ? sizeof(__be32) : 0)) {
      /* No fragments are made: a sender that did not forbid them is not told, as the protocol has it. */
      frame->mtu = hop->mtu - exit->length;
      return drop_and_tell(frame, DROP_TOO_BIG, frame->ipv6 || frame->dont_fragment ? TELL_TOO_BIG : TELL_NOTHING);
   }
   int const verdict = frame->labelled ? prepare_labelled(ctx, frame, exit) : prepare_ip(ctx, frame);
   return verdict == GO_ON ? leave(ctx, frame, exit, hop, to) : verdict;
}

#endif
