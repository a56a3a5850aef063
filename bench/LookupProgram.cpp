#include "bench/LookupProgram.h"

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <fmt/format.h>
#include <sys/mman.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
// After what it names.
#include "bench/Lookup.skel.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::size_t lookupsPerRun = 64;
constexpr std::uint32_t readCount = std::uint32_t{1} << 25;

void check(bool good, char const* what) {
   if (!good) throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

std::span<std::byte> mapped(bpf_map const* map) {
   std::size_t const bytes = (bpf_map__value_size(map) + 7) / 8 * 8 * std::size_t{bpf_map__max_entries(map)};
   auto* const at = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, bpf_map__fd(map), 0);
   check(at != MAP_FAILED, "a BPF array cannot be mapped");
   return {static_cast<std::byte*>(at), bytes};
}

template <class Item>
std::span<Item> itemsOf(std::span<std::byte> bytes) {
   return {reinterpret_cast<Item*>(bytes.data()), bytes.size() / sizeof(Item)};
}

double run(bpf_program const* program) {
   std::array<char, 64> frame{};
   bpf_test_run_opts options{};
   options.sz = sizeof options;
   options.data_in = frame.data();
   options.data_size_in = frame.size();
   options.repeat = static_cast<int>(LookupProgram::addressCount / lookupsPerRun);
   check(bpf_prog_test_run_opts(bpf_program__fd(program), &options) == 0, "the BPF program cannot be run");
   return static_cast<double>(options.duration) / lookupsPerRun;
}

}  // namespace

void LookupProgram::Close::operator()(Lookup* skeleton) const { Lookup__destroy(skeleton); }

LookupProgram::LookupProgram(std::size_t trieBytes) : skeleton_(Lookup__open()) {
   check(skeleton_ != nullptr, "the BPF program cannot be opened");
   skeleton_->rodata->trie_units = static_cast<std::uint32_t>(trieBytes / TRIE_UNIT);
   auto const& maps = skeleton_->maps;
   check(bpf_map__set_value_size(maps.tries, static_cast<std::uint32_t>(trieBytes)) == 0, "no such BPF array");
   check(Lookup__load(skeleton_.get()) == 0, "the BPF program cannot be loaded");
   tries_ = mapped(maps.tries);
   addresses_ = itemsOf<LookupAddress>(mapped(maps.addresses));
   reads_ = itemsOf<std::uint32_t>(mapped(maps.reads));
   std::uint32_t number = 0;
   for (auto& word : reads_) word = (number++ * 1664525 + 1013904223) % readCount;
}

LookupProgram::~LookupProgram() {
   munmap(tries_.data(), tries_.size_bytes());
   munmap(addresses_.data(), addresses_.size_bytes());
   munmap(reads_.data(), reads_.size_bytes());
}

trie_root& LookupProgram::root() const { return skeleton_->bss->root; }
std::uint32_t LookupProgram::sum() const { return skeleton_->bss->sum; }
double LookupProgram::lookUp() const { return run(skeleton_->progs.look_up_many); }
double LookupProgram::read() const { return run(skeleton_->progs.read_many); }

}  // namespace VelmSdkRpc::Bench
