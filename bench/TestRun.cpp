#include "bench/TestRun.h"

#include <bpf/bpf.h>
#include <fmt/format.h>
#include <linux/bpf.h>
#include <sys/mman.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace VelmSdkRpc::Bench {

void check(bool good, char const* what) {
   if (!good) throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

MappedArray::MappedArray(bpf_map const* map) {
   std::size_t const size = (bpf_map__value_size(map) + 7) / 8 * 8 * std::size_t{bpf_map__max_entries(map)};
   auto* const at = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, bpf_map__fd(map), 0);
   check(at != MAP_FAILED, "a BPF array cannot be mapped");
   bytes_ = {static_cast<std::byte*>(at), size};
}
MappedArray::~MappedArray() { munmap(bytes_.data(), bytes_.size()); }

TestRunResult run(TestRun const& what) {
   std::array<char, 60> frame{};
   xdp_md context{};
   context.data_end = frame.size();
   context.ingress_ifindex = what.device;
   bpf_test_run_opts options{};
   options.sz = sizeof options;
   options.data_in = frame.data();
   options.data_size_in = frame.size();
   options.ctx_in = &context;
   options.ctx_size_in = sizeof context;
   options.repeat = static_cast<int>(what.times);
   options.flags = what.live ? BPF_F_TEST_XDP_LIVE_FRAMES : 0;
   check(bpf_prog_test_run_opts(bpf_program__fd(what.program), &options) == 0, "the BPF program cannot be run");
   return {static_cast<double>(options.duration), options.retval};
}

void fillDestinations(bpf_map const* map, std::vector<std::uint32_t> const& destinations) {
   MappedArray const array(map);
   std::size_t turn = 0;
   for (auto& word : array.items<std::uint64_t>()) word = destinations[turn++ % destinations.size()];
}

}  // namespace VelmSdkRpc::Bench
