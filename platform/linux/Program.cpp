#include "platform/linux/Program.h"

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <fmt/format.h>
#include <linux/if_link.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/linux/bpf/forward.skel.h"
#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

std::string reasonOf(int failure) {
   switch (failure) {
      case EPERM:
      case EACCES: return "the agent lacks a right: it needs CAP_NET_ADMIN, CAP_BPF, CAP_PERFMON and CAP_NET_RAW";
      case ENOSYS:
      case EINVAL: return fmt::format("this kernel cannot carry it ({})", std::strerror(failure));
      default: return std::strerror(failure);
   }
}

/// A shared array, mapped into the agent.
class Mapping {
 public:
   explicit Mapping(bpf_map* map) {
      std::size_t const padded = (bpf_map__value_size(map) + 7) / 8 * 8;
      size_ = padded * bpf_map__max_entries(map);
      address_ = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, bpf_map__fd(map), 0);
      if (address_ == MAP_FAILED) {
         throw error(
            fmt::format("the array {} cannot be shared with the kernel: {}", bpf_map__name(map), std::strerror(errno)));
      }
   }
   Mapping(Mapping&& other) noexcept
      : address_(std::exchange(other.address_, MAP_FAILED)), size_(std::exchange(other.size_, 0)) {}
   Mapping& operator=(Mapping&&) = delete;
   ~Mapping() {
      if (address_ != MAP_FAILED) munmap(address_, size_);
   }

   template <class Row>
   std::span<Row> rows() const {
      static_assert(sizeof(Row) == 1 || sizeof(Row) % 8 == 0);
      return {static_cast<Row*>(address_), size_ / sizeof(Row)};
   }

 private:
   void* address_ = MAP_FAILED;
   std::size_t size_ = 0;
};

}  // namespace

struct Program::Loaded {
   struct Close {
      void operator()(forward* skeleton) const { forward__destroy(skeleton); }
   };
   std::unique_ptr<forward, Close> skeleton;
   std::vector<Mapping> mappings;

   template <class Row>
   std::span<Row> share(bpf_map* map) {
      return mappings.emplace_back(map).rows<Row>();
   }
};

Program::Program(Sizes const& sizes, std::uint64_t hashSeed) : loaded_(std::make_unique<Loaded>()) {
   // What libbpf has to say is the verifier's log, and of use to nobody who runs a switch.
   libbpf_set_print(nullptr);
   auto& skeleton = loaded_->skeleton;
   skeleton.reset(forward__open());
   if (!skeleton) throw error(fmt::format("the dataplane's program cannot be read: {}", std::strerror(errno)));
   skeleton->rodata->hash_seed = hashSeed;
   auto& maps = skeleton->maps;
   auto const cpus = static_cast<std::uint32_t>(Program::cpus());
   auto const counters = sizes.exits + OWN_COUNTERS;
   skeleton->rodata->entry_counters = counters;
   bpf_map__set_value_size(maps.tries, static_cast<std::uint32_t>(sizes.trieBytes));
   skeleton->rodata->trie_units = static_cast<std::uint32_t>(sizes.trieBytes / TRIE_UNIT);
   bpf_map__set_max_entries(maps.groups, sizes.groups);
   bpf_map__set_max_entries(maps.buckets, sizes.buckets);
   bpf_map__set_max_entries(maps.exits, sizes.exits);
   bpf_map__set_max_entries(maps.hops, sizes.hops);
   bpf_map__set_max_entries(maps.drops, cpus * MAX_DROP_REASONS);
   bpf_map__set_max_entries(maps.port_traffic, cpus * MAX_PORTS);
   bpf_map__set_max_entries(maps.entry_traffic, cpus * counters);
   // A kernel that cannot know whether its machine reads words at any place would refuse headers behind a VLAN tag.
   bpf_program__set_flags(skeleton->progs.velm_switch, BPF_F_ANY_ALIGNMENT);
   if (int const failure = forward__load(skeleton.get()); failure != 0) {
      throw error(fmt::format("the dataplane's program cannot be loaded: {}", reasonOf(-failure)));
   }
   arrays_ = {.trie = loaded_->share<std::byte>(maps.tries),
              .vrfs = loaded_->share<vrf>(maps.vrfs),
              .labels = loaded_->share<label_word>(maps.labels),
              .groups = loaded_->share<group_word>(maps.groups),
              .buckets = loaded_->share<bucket_word>(maps.buckets),
              .exits = loaded_->share<exit_row>(maps.exits),
              .redirects = loaded_->share<redirect_row>(maps.redirects),
              .hops = loaded_->share<hop>(maps.hops),
              .ports = loaded_->share<port>(maps.ports),
              .drops = loaded_->share<std::uint64_t>(maps.drops),
              .portTraffic = loaded_->share<port_traffic>(maps.port_traffic),
              .entryTraffic = loaded_->share<traffic>(maps.entry_traffic)};
}

Program::~Program() = default;

std::size_t Program::cpus() { return static_cast<std::size_t>(libbpf_num_possible_cpus()); }

int Program::fd() const { return bpf_program__fd(loaded_->skeleton->progs.velm_switch); }

void Program::portIs(port_key const& key, std::uint32_t index) {
   bpf_map__update_elem(loaded_->skeleton->maps.port_of, &key, sizeof key, &index, sizeof index, BPF_ANY);
}
void Program::portDel(port_key const& key) {
   bpf_map__delete_elem(loaded_->skeleton->maps.port_of, &key, sizeof key, 0);
}
void Program::redirectIs(redirect_key const& key, std::uint32_t row) {
   bpf_map__update_elem(loaded_->skeleton->maps.redirect_of, &key, sizeof key, &row, sizeof row, BPF_ANY);
}
void Program::redirectDel(redirect_key const& key) {
   bpf_map__delete_elem(loaded_->skeleton->maps.redirect_of, &key, sizeof key, 0);
}
void Program::deviceIs(std::uint32_t port, int ifindex) {
   bpf_map__update_elem(loaded_->skeleton->maps.tx_ports, &port, sizeof port, &ifindex, sizeof ifindex, BPF_ANY);
}
void Program::deviceDel(std::uint32_t port) {
   bpf_map__delete_elem(loaded_->skeleton->maps.tx_ports, &port, sizeof port, 0);
}

Attachment::Attachment(Program const& program, int ifindex) {
   for (auto const& [flags, mode] :
        {std::pair(XDP_FLAGS_DRV_MODE, Mode::native), std::pair(XDP_FLAGS_SKB_MODE, Mode::generic)}) {
      LIBBPF_OPTS(bpf_link_create_opts, options, .flags = static_cast<__u32>(flags));
      link_ = bpf_link_create(program.fd(), ifindex, BPF_XDP, &options);
      mode_ = mode;
      if (link_ >= 0) return;
      if (link_ == -EBUSY || link_ == -EEXIST) throw error("another XDP program is at work on the device");
   }
   throw error(fmt::format("the program cannot be attached to the device: {}", reasonOf(-link_)));
}

Attachment::~Attachment() { close(link_); }

}  // namespace velm::machine
