#include "bench/ProgramCost.h"

#include <bpf/bpf.h>
#include <net/if.h>

#include <array>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include "bench/TestRun.h"
#include "platform/linux/bpf/Layout.h"
// After what it names.
#include "bench/Cost.skel.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::uint32_t frames = 1 << 20;

std::uint32_t switchDevice(Lab const& lab) {
   Namespace::Inside const inside(lab.network());
   return if_nametoindex("Ethernet1");
}

/// Has the object read the maps of the program that is at work on the device, by their names.
void share(::Cost const& skeleton, Namespace const& space, std::uint32_t device) {
   Namespace::Inside const inside(space);
   std::uint32_t id = 0;
   check(bpf_xdp_query_id(static_cast<int>(device), 0, &id) == 0 && id != 0, "no program is at work");
   int const program = bpf_prog_get_fd_by_id(id);
   check(program >= 0, "the program at work");
   std::array<std::uint32_t, 64> maps{};
   bpf_prog_info info{};
   info.nr_map_ids = maps.size();
   info.map_ids = reinterpret_cast<std::uintptr_t>(maps.data());
   std::uint32_t size = sizeof info;
   check(bpf_obj_get_info_by_fd(program, &info, &size) == 0, "what the program at work is");
   close(program);
   for (std::uint32_t i = 0; i < info.nr_map_ids; ++i) {
      int const fd = bpf_map_get_fd_by_id(maps[i]);
      bpf_map_info about{};
      size = sizeof about;
      check(fd >= 0 && bpf_obj_get_info_by_fd(fd, &about, &size) == 0, "a map of the program at work");
      auto* const map = bpf_object__find_map_by_name(skeleton.obj, about.name);
      if (map != nullptr) check(bpf_map__reuse_fd(map, fd) == 0, about.name);
      if (map == skeleton.maps.tries) skeleton.rodata->trie_units = about.value_size / TRIE_UNIT;
      close(fd);
   }
}

}  // namespace

void ProgramCost::Close::operator()(::Cost* skeleton) const { Cost__destroy(skeleton); }

ProgramCost::ProgramCost(Lab const& lab, std::vector<std::uint32_t> const& destinations)
   : lab_(lab), device_(switchDevice(lab)), skeleton_(Cost__open()) {
   check(skeleton_ != nullptr, "the BPF programs cannot be opened");
   share(*skeleton_, lab.network(), device_);
   check(Cost__load(skeleton_.get()) == 0, "the BPF programs cannot be loaded");
   fillDestinations(skeleton_->maps.destinations, destinations);
}
ProgramCost::~ProgramCost() = default;

double ProgramCost::measure() const {
   Namespace::Inside const inside(lab_.network());
   auto const making = run({.program = skeleton_->progs.make_only, .times = frames, .device = device_});
   auto const all = run({.program = skeleton_->progs.make_and_forward, .times = frames, .device = device_});
   if (all.verdict != XDP_REDIRECT) throw std::runtime_error("the switch's program does not forward");
   return all.nanoseconds - making.nanoseconds;
}

}  // namespace VelmSdkRpc::Bench
