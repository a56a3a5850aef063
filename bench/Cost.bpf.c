/* The switch's program on one frame after the other, without devices: its own source, with the tables of an agent. */
#include "bench/MadeFrame.h"
#include "platform/linux/bpf/forward.bpf.c"

SEC("xdp")
int make_only(struct xdp_md* ctx) { return make_frame(ctx) ? XDP_DROP : XDP_ABORTED; }

SEC("xdp")
int make_and_forward(struct xdp_md* ctx) {
   struct frame frame = {};
   return make_frame(ctx) ? forward(ctx, &frame) : XDP_ABORTED;
}
