/* The switch's fast path. A frame that is not ours to forward, or odd in any way, goes to the kernel's stack untouched;
 * a frame that is forwarded is written once and leaves by a redirect. See Layout.h for what is read on the way. */
#include "platform/linux/bpf/icmp.h"
#include "platform/linux/bpf/ip.h"
#include "platform/linux/bpf/mpls.h"
#include "platform/linux/bpf/send.h"

/* Finds the port and the protocol of a frame for us. */
static __always_inline int arrive(struct xdp_md* ctx, struct frame* frame, __be16* protocol) {
   void const* const end = frame_end(ctx);
   struct ethhdr const* const eth = frame_begin(ctx);
   if ((void const*)(eth + 1) > end) return XDP_PASS;
   struct port_key key = {.ifindex = ctx->ingress_ifindex};
   frame->l3 = sizeof *eth;
   *protocol = eth->h_proto;
   if (*protocol == bpf_htons(ETH_P_8021Q)) {
      struct vlan_tag const* const tag = (void const*)(eth + 1);
      if ((void const*)(tag + 1) > end) return XDP_PASS;
      key.vlan = bpf_ntohs(tag->tci) & 0xfff;
      *protocol = tag->protocol;
      frame->l3 += sizeof *tag;
   }
   __u32 const* const index = bpf_map_lookup_elem(&port_of, &key);
   struct port const* const port = index ? port_at(*index) : 0;
   if (!port) return XDP_PASS;
   mac_word to = 0;
   __builtin_memcpy(&to, eth->h_dest, ETH_ALEN);
   if (to != port->mac) return XDP_PASS;
   frame->port = *index;
   frame->vrf = port->vrf;
   frame->policy = port->policy;
   return GO_ON;
}

static __always_inline int follow(struct xdp_md* ctx, struct frame* frame, __u32 leaf) {
   switch (leaf_kind_of(leaf)) {
      case LEAF_KERNEL: return XDP_PASS;
      case LEAF_NONE: return drop_and_tell(frame, DROP_NO_ROUTE, TELL_NO_ROUTE);
      case LEAF_DROP: return drop_and_tell(frame, DROP_BY_ROUTE, TELL_PROHIBITED);
      default: break;
   }
   if (frame->ttl <= 1) return drop_and_tell(frame, DROP_TTL_EXPIRED, TELL_TTL_EXPIRED);
   return send(ctx, frame, leaf);
}

static __always_inline int forward(struct xdp_md* ctx, struct frame* frame) {
   __be16 protocol = 0;
   int verdict = arrive(ctx, frame, &protocol);
   if (verdict != GO_ON) return verdict;
   __u32 leaf = 0;
   if (protocol == bpf_htons(ETH_P_MPLS_UC)) {
      verdict = look_up_label(ctx, frame, &protocol, &leaf);
      if (verdict != GO_ON) return verdict;
   }
   if (frame->labelled) return send(ctx, frame, leaf);
   if (protocol == bpf_htons(ETH_P_IP)) {
      verdict = look_up_ipv4(ctx, frame, &leaf);
   } else if (protocol == bpf_htons(ETH_P_IPV6)) {
      frame->ipv6 = 1;
      verdict = look_up_ipv6(ctx, frame, &leaf);
   } else {
      return XDP_PASS;
   }
   return verdict == GO_ON ? follow(ctx, frame, leaf) : verdict;
}

SEC("xdp")
int velm_switch(struct xdp_md* ctx) {
   struct frame frame = {};
   int const verdict = forward(ctx, &frame);
   if (verdict == XDP_PASS && frame.came_labelled) return hand_over(ctx, &frame);
   return frame.error ? tell(ctx, &frame) : verdict;
}

char _license[] SEC("license") = "GPL";
