/* The road of a labelled packet up to its leaf, or to the lookup of the IP packet under its last label. */
#ifndef VELM_PLATFORM_LINUX_BPF_MPLS_H
#define VELM_PLATFORM_LINUX_BPF_MPLS_H

#include "platform/linux/bpf/ip.h"

/* So many labels tell flows apart; below more of them the packet is not looked at. */
#define HASHED_LABELS 8

static __always_inline __u32 entry_at(__be32 const* at) { return bpf_ntohl(*at); }
static __always_inline __u8 exp_of(__u32 entry) { return entry >> STACK_EXP_SHIFT & 7; }

/* The labels and, if it is IP, the packet below. What is not looked at leaves two flows on one way, no more. */
static __always_inline __u32 hash_labelled(void const* at, void const* end) {
   __u64 hash = hash_seed;
   __u32 entry = 0;
   for (int i = 0; i < HASHED_LABELS; ++i) {
      if (at + sizeof entry > end) return hash_end(hash);
      entry = entry_at(at);
      hash = hash_more(hash, entry >> STACK_LABEL_SHIFT);
      at += sizeof entry;
      if (entry & STACK_BOTTOM) break;
   }
   if (!(entry & STACK_BOTTOM) || at + sizeof(struct iphdr) > end) return hash_end(hash);
   struct iphdr const* const ipv4 = at;
   if (ipv4->version == 4 && ipv4->ihl == 5) return hash_end(hash_ipv4(hash, ipv4, end));
   struct ipv6hdr const* const ipv6 = at;
   if (ipv6->version == 6 && (void const*)(ipv6 + 1) <= end) return hash_end(hash_ipv6(hash, ipv6, end));
   return hash_end(hash);
}

/* Takes the last label off, in thought: the frame keeps it until it leaves. What is below is an IP packet of a VRF. */
static __always_inline int uncover_for_lookup(struct xdp_md* ctx, struct frame* frame, __u32 entry, __u32 vrf,
                                              __u8 version, __be16* protocol) {
   if (!(entry & STACK_BOTTOM)) return drop(frame, DROP_UNKNOWN_LABEL);
   frame->l3 += sizeof entry;
   frame->vrf = vrf;
   frame->most_ttl = frame->ttl;
   __u8 const* const first = l3_of(ctx, frame);
   if ((void const*)(first + 1) > frame_end(ctx)) return drop(frame, DROP_SHORT_FRAME);
   if (version && *first >> 4 != version) return drop(frame, DROP_BAD_HEADER);
   *protocol = *first >> 4 == 6 ? bpf_htons(ETH_P_IPV6) : bpf_htons(ETH_P_IP); /* what is neither has a bad header */
   return GO_ON;
}

/* An explicit null that nobody has programmed stands before a packet of this very VRF. */
static __always_inline label_word meaning_of(__u32 label, __u32 vrf) {
   label_word const* const word = bpf_map_lookup_elem(&labels, &label);
   label_word const known = word ? *(label_word const volatile*)word : 0;
   if (known) return known;
   if (label == EXPLICIT_NULL_IPV4) return label_of(LABEL_VRF, vrf) | 4ull << LABEL_VERSION_SHIFT;
   if (label == EXPLICIT_NULL_IPV6) return label_of(LABEL_VRF, vrf) | 6ull << LABEL_VERSION_SHIFT;
   return 0;
}

/* Reads the top label. GO_ON with a leaf, or with the protocol of an IP packet to be looked up, or how the frame's road
 * ends here. */
static __always_inline int look_up_label(struct xdp_md* ctx, struct frame* frame, __be16* protocol, __u32* leaf) {
   __be32 const* const top = l3_of(ctx, frame);
   if ((void const*)(top + 1) > frame_end(ctx)) return drop(frame, DROP_SHORT_FRAME);
   __u32 const entry = entry_at(top);
   __u32 const label = entry >> STACK_LABEL_SHIFT;
   if (label == ROUTER_ALERT) return XDP_PASS;
   frame->came_labelled = 1;
   frame->ttl = entry;
   frame->tos = exp_of(entry) << 5;
   label_word const word = meaning_of(label, frame->vrf);
   enum label_action const action = label_action_of(word);
   if (action == LABEL_UNKNOWN) return drop(frame, DROP_UNKNOWN_LABEL);
   if (frame->ttl <= 1) return drop(frame, DROP_TTL_EXPIRED);
   __u8 const version = word >> LABEL_VERSION_SHIFT & 0xf;
   if (action == LABEL_VRF) return uncover_for_lookup(ctx, frame, entry, word, version, protocol);
   frame->labelled = 1;
   frame->pops = action == LABEL_POP;
   frame->pipe = !!(word & LABEL_PIPE);
   frame->version = version;
   frame->length = frame_end(ctx) - (void const*)top;
   frame->hash = hash_labelled(top, frame_end(ctx));
   *leaf = word;
   return GO_ON;
}

/* A packet whose label was taken off in thought is for the kernel: it loses the label indeed. Another VRF's the kernel
 * would take for one of the port's. */
static __always_inline int hand_over(struct xdp_md* ctx, struct frame* frame) {
   struct port const* const port = port_at(frame->port);
   if (!port || port->vrf != frame->vrf) return drop(frame, DROP_UNRESOLVED);
   struct ethhdr* const eth = frame_begin(ctx);
   struct vlan_tag* const tag = (void*)(eth + 1);
   __u32 const size = frame->l3 - sizeof(__be32);
   if ((void*)(tag + 1) + sizeof(__be32) > frame_end(ctx)) return drop(frame, DROP_SHORT_FRAME);
   __be16 const protocol = frame->ipv6 ? bpf_htons(ETH_P_IPV6) : bpf_htons(ETH_P_IP);
   struct ethhdr const head = *eth;
   struct vlan_tag const before = *tag;
   if (bpf_xdp_adjust_head(ctx, sizeof(__be32))) return drop(frame, DROP_SHORT_FRAME);
   struct ethhdr* const to = frame_begin(ctx);
   struct vlan_tag* const to_tag = (void*)(to + 1);
   if ((void*)(to_tag + 1) > frame_end(ctx)) return drop(frame, DROP_SHORT_FRAME);
   *to = head;
   if (size == sizeof head) {
      to->h_proto = protocol;
   } else {
      to_tag->tci = before.tci;
      to_tag->protocol = protocol;
   }
   return XDP_PASS;
}

#endif
