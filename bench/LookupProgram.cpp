#include "bench/LookupProgram.h"

#include <bpf/libbpf.h>

// After what it names.
#include "bench/Lookup.skel.h"

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::size_t lookupsPerRun = 64;
constexpr std::uint32_t readCount = std::uint32_t{1} << 25;

double nanosecondsOf(bpf_program const* program) {
   constexpr auto runs = static_cast<std::uint32_t>(LookupProgram::addressCount / lookupsPerRun);
   return run({.program = program, .times = runs}).nanoseconds / lookupsPerRun;
}

}  // namespace

void LookupProgram::Close::operator()(Lookup* skeleton) const { Lookup__destroy(skeleton); }

LookupProgram::LookupProgram(std::size_t trieBytes) : skeleton_(Lookup__open()) {
   check(skeleton_ != nullptr, "the BPF program cannot be opened");
   skeleton_->rodata->trie_units = static_cast<std::uint32_t>(trieBytes / TRIE_UNIT);
   auto const& maps = skeleton_->maps;
   check(bpf_map__set_value_size(maps.tries, static_cast<std::uint32_t>(trieBytes)) == 0, "no such BPF array");
   check(Lookup__load(skeleton_.get()) == 0, "the BPF program cannot be loaded");
   tries_.emplace(maps.tries);
   addresses_.emplace(maps.addresses);
   reads_.emplace(maps.reads);
   std::uint32_t number = 0;
   for (auto& word : reads()) word = (number++ * 1664525 + 1013904223) % readCount;
}

LookupProgram::~LookupProgram() = default;

std::span<std::byte> LookupProgram::tries() const { return tries_->items<std::byte>(); }
std::span<LookupAddress> LookupProgram::addresses() const { return addresses_->items<LookupAddress>(); }
std::span<std::uint32_t> LookupProgram::reads() const { return reads_->items<std::uint32_t>(); }
trie_root& LookupProgram::root() const { return skeleton_->bss->root; }
std::uint32_t LookupProgram::sum() const { return skeleton_->bss->sum; }
double LookupProgram::lookUp() const { return nanosecondsOf(skeleton_->progs.look_up_many); }
double LookupProgram::read() const { return nanosecondsOf(skeleton_->progs.read_many); }

}  // namespace VelmSdkRpc::Bench
