/* What the program knows of the frame at hand, and how one ends. */
#ifndef VELM_PLATFORM_LINUX_BPF_FRAME_H
#define VELM_PLATFORM_LINUX_BPF_FRAME_H

#include <bpf/bpf_endian.h>
#include <linux/if_ether.h>

#include "platform/linux/bpf/maps.h"

struct vlan_tag {
   __be16 tci;
   __be16 protocol;
};

/* What the sender of a dropped packet is told. */
enum icmp_error {
   TELL_NOTHING = 0,
   TELL_TTL_EXPIRED,
   TELL_TOO_BIG,
   TELL_NO_ROUTE,
   TELL_PROHIBITED,
};

/* Beside the verdicts of XDP: nothing has ended the frame's road so far. */
#define GO_ON 0x100

struct frame {
   __u32 port; /* on which it came */
   __u32 vrf;
   __u32 l3;      /* offset of the IP header, or of the top label */
   __u32 length;  /* of the packet from there, which may be less than what is left of the frame */
   __u32 hash;    /* of the flow */
   __u32 policy;  /* of the port on which it came */
   __u32 counter; /* of the entry of a group that it leaves by; 0 for none */
   __u8 ttl;      /* as it came: of the top label, if there is one */
   __u8 tos;      /* DSCP and ECN; of a label the EXP, where DSCP has its upper bits */
   __u8 ipv6;
   __u8 dont_fragment;
   __u8 error; /* enum icmp_error */
   __u16 mtu;  /* that it told of, if it is too big */
   /* Of a frame that came with labels. */
   __u8 came_labelled;
   __u8 labelled; /* still is, at l3 */
   __u8 pops;     /* the top label is to be taken off */
   __u8 pipe;     /* what is uncovered keeps its TTL and EXP */
   __u8 version;  /* of IP that may be uncovered; 0 for any */
   __u8
      most_ttl; /* that the IP packet may have, of a label that was taken off before the lookup; 0 if there was none */
};

#ifndef ETH_P_MPLS_UC
#define ETH_P_MPLS_UC 0x8847
#endif

static __always_inline void* frame_begin(struct xdp_md* ctx) { return (void*)(long)ctx->data; }
static __always_inline void* frame_end(struct xdp_md* ctx) { return (void*)(long)ctx->data_end; }

/* Where the packet begins: after an Ethernet header, perhaps a tag, perhaps a label that is done with. Masked, so that
 * the verifier sees that too.
 */
static __always_inline void* l3_of(struct xdp_md* ctx, struct frame const* frame) {
   return frame_begin(ctx) + (frame->l3 & 31);
}

/* In 64 bits, since the verifier subtracts pointers in no fewer. */
static __always_inline __u32 frame_size(struct xdp_md* ctx) {
   __u64 size = frame_end(ctx) - frame_begin(ctx);
   barrier_var(size);
   return size;
}

static __always_inline struct port_traffic* traffic_of(__u32 port) {
   __u32 index = bpf_get_smp_processor_id() * MAX_PORTS + port;
   return bpf_map_lookup_elem(&port_traffic, &index);
}

/* The frame goes no further, for this reason. */
static __always_inline int drop(struct frame const* frame, enum drop_reason reason) {
   __u32 index = bpf_get_smp_processor_id() * MAX_DROP_REASONS + reason;
   __u64* const count = bpf_map_lookup_elem(&drops, &index);
   if (count) ++*count;
   struct port_traffic* const traffic = traffic_of(frame->port);
   if (traffic) ++traffic->dropped;
   return XDP_DROP;
}

/* Where a labelled packet came from says nothing of where its sender is: nobody is told. */
static __always_inline int drop_and_tell(struct frame* frame, enum drop_reason reason, enum icmp_error error) {
   if (!frame->came_labelled) frame->error = error;
   return drop(frame, reason);
}

/* The sum of what is to be a header's checksum, folded to 16 bits. */
static __always_inline __u16 fold(__u64 sum) {
   sum = (sum & 0xffffffff) + (sum >> 32);
   sum = (sum & 0xffff) + (sum >> 16);
   sum = (sum & 0xffff) + (sum >> 16);
   return (sum & 0xffff) + (sum >> 16);
}

#endif
