#include "bench/Flood.h"

#include <bpf/bpf.h>
#include <linux/if_link.h>
#include <net/if.h>

#include <chrono>
#include <unistd.h>

#include "bench/TestRun.h"
// After what it names.
#include "bench/Flood.skel.h"

namespace VelmSdkRpc::Bench {
namespace {

std::uint32_t deviceOf(Namespace const& space) {
   Namespace::Inside const inside(space);
   return if_nametoindex("eth0");
}

int attach(bpf_program const* program, Namespace const& space, std::uint32_t device) {
   Namespace::Inside const inside(space);
   bpf_link_create_opts options{};
   options.sz = sizeof options;
   options.flags = XDP_FLAGS_DRV_MODE;
   int const link = bpf_link_create(bpf_program__fd(program), static_cast<int>(device), BPF_XDP, &options);
   check(link >= 0, "a BPF program cannot be attached");
   return link;
}

}  // namespace

void FrameFlood::Close::operator()(::Flood* skeleton) const { Flood__destroy(skeleton); }

FrameFlood::FrameFlood(Lab const& lab, std::vector<std::uint32_t> const& destinations)
   : lab_(lab), skeleton_(Flood__open_and_load()) {
   check(skeleton_ != nullptr, "the BPF programs cannot be loaded");
   fillDestinations(skeleton_->maps.destinations, destinations);
   skeleton_->bss->out = deviceOf(lab.host(1));
   sink_ = attach(skeleton_->progs.receive, lab.host(2), deviceOf(lab.host(2)));
}
FrameFlood::~FrameFlood() { close(sink_); }

FrameFlood::Rates FrameFlood::flood(double seconds) const {
   constexpr std::uint32_t atOnce = 1 << 16;
   Namespace::Inside const inside(lab_.host(1));
   auto const before = received();
   auto const begin = std::chrono::steady_clock::now();
   std::uint64_t sent = 0;
   double took = 0;
   while (took < seconds) {
      run({.program = skeleton_->progs.generate, .times = atOnce, .live = true});
      sent += atOnce;
      took = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
   }
   return {static_cast<double>(sent) / took, static_cast<double>(received() - before) / took};
}

std::uint64_t FrameFlood::received() const {
   std::uint64_t frames = 0;
   for (auto const& slice : skeleton_->bss->received) frames += slice.frames;
   return frames;
}

}  // namespace VelmSdkRpc::Bench
