#pragma once

#include <bpf/libbpf.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// BPF programs of benchmarks in the kernel.
namespace VelmSdkRpc::Bench {

/// Throws std::runtime_error with errno's text if it is not good.
void check(bool good, char const* what);

/// An array of the program's, mapped for as long as this lives.
class MappedArray {
 public:
   explicit MappedArray(bpf_map const* map);
   ~MappedArray();
   MappedArray(MappedArray const&) = delete;
   MappedArray& operator=(MappedArray const&) = delete;

   template <class Item>
   std::span<Item> items() const {
      return {reinterpret_cast<Item*>(bytes_.data()), bytes_.size() / sizeof(Item)};
   }

 private:
   std::span<std::byte> bytes_;
};

/// Runs an XDP program so many times, on a frame of 60 bytes that came by the device of the thread's namespace; 0 is
/// any. With `live`, what the program redirects is sent.
struct TestRun {
   bpf_program const* program;
   std::uint32_t times;
   std::uint32_t device = 0;
   bool live = false;
};
struct TestRunResult {
   double nanoseconds;  // each time
   std::uint32_t verdict;
};
TestRunResult run(TestRun const& what);

/// Fills the program's destinations, over and over, with these.
void fillDestinations(bpf_map const* map, std::vector<std::uint32_t> const& destinations);

}  // namespace VelmSdkRpc::Bench
