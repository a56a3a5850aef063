/* Frames at a rate that no switch takes, and where those that it took end. */
#include "bench/MadeFrame.h"

#define MAX_CPUS 256

__u32 out; /* the device that frames leave by */

/* On lines of the cache of their own. */
struct {
   __u64 frames;
   __u64 unused[7];
} received[MAX_CPUS];

SEC("xdp")
int generate(struct xdp_md* ctx) { return make_frame(ctx) ? bpf_redirect(out, 0) : XDP_ABORTED; }

SEC("xdp")
int receive(struct xdp_md* ctx) {
   struct ethhdr const* const eth = (void*)(long)ctx->data;
   if ((void const*)(eth + 1) > (void*)(long)ctx->data_end || eth->h_proto != bpf_htons(ETH_P_IP)) return XDP_PASS;
   received[bpf_get_smp_processor_id() % MAX_CPUS].frames++;
   return XDP_DROP;
}

char _license[] SEC("license") = "GPL";
