#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "bench/TestRun.h"
#include "platform/linux/bpf/Layout.h"

struct Lookup;

namespace VelmSdkRpc::Bench {

/// As the BPF program has it.
struct LookupAddress {
   std::uint64_t high;
   std::uint64_t low;
};

/// The program of Lookup.bpf.c in the kernel, with a memory of tries, which is zero, and what it looks up and reads.
/// Throws std::runtime_error where the kernel refuses, as it does without CAP_BPF and CAP_PERFMON.
class LookupProgram {
 public:
   static constexpr std::size_t addressCount = std::size_t{1} << 20;  // and so many reads

   explicit LookupProgram(std::size_t trieBytes);
   ~LookupProgram();
   LookupProgram(LookupProgram const&) = delete;
   LookupProgram& operator=(LookupProgram const&) = delete;

   std::span<std::byte> tries() const;
   std::span<LookupAddress> addresses() const;
   /// 128 MiB of words, each of which names the next, in one way through all of them.
   std::span<std::uint32_t> reads() const;
   trie_root& root() const;

   /// Looks up all addresses, or reads as many words, each when the one before is known. Returns ns for one.
   double lookUp() const;
   double read() const;
   /// What all that was looked up adds up to.
   std::uint32_t sum() const;

 private:
   struct Close {
      void operator()(Lookup* skeleton) const;
   };

   std::unique_ptr<Lookup, Close> skeleton_;
   std::optional<MappedArray> tries_;
   std::optional<MappedArray> addresses_;
   std::optional<MappedArray> reads_;
};

}  // namespace VelmSdkRpc::Bench
