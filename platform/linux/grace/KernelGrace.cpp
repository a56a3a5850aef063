#include "platform/linux/grace/KernelGrace.h"

#include <bpf/bpf.h>
#include <fmt/format.h>
#include <linux/bpf.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <thread>
#include <unistd.h>

#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

int createMap(bpf_map_type type, std::uint32_t valueSize, int inner) {
   bpf_map_create_opts options{};
   options.sz = sizeof options;
   options.inner_map_fd = static_cast<std::uint32_t>(inner);
   auto const map = bpf_map_create(type, "velm_grace", sizeof(std::uint32_t), valueSize, 1, &options);
   if (map < 0) throw error(fmt::format("cannot create a BPF map: {}", std::strerror(errno)));
   return map;
}

}  // namespace

KernelGrace::KernelGrace() : inner_(createMap(BPF_MAP_TYPE_ARRAY, sizeof(std::uint64_t), 0)) {
   try {
      outer_ = createMap(BPF_MAP_TYPE_ARRAY_OF_MAPS, sizeof(std::uint32_t), inner_);
   } catch (...) {
      close(inner_);
      throw;
   }
}

KernelGrace::~KernelGrace() {
   close(outer_);
   close(inner_);
}

void KernelGrace::wait() const {
   std::uint32_t const first = 0;
   // The kernel is out of memory if this fails; before it succeeds nothing has been waited for.
   while (bpf_map_update_elem(outer_, &first, &inner_, BPF_ANY) != 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
   }
}

}  // namespace velm::machine
