// Stands in for the fuzzer where there is none: runs a harness over kept inputs, files or folders of them, and then,
// for as many seconds as --mutate says, over random changes of them. An input that ends the process stays as the file
// `mutation` in the present folder.
#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(fs::path const& path) {
   if (!fs::is_directory(path)) return {path};
   std::vector<fs::path> files{fs::directory_iterator(path), {}};
   std::ranges::sort(files);
   return files;
}

std::string contentOf(fs::path const& file) {
   std::ifstream in(file, std::ios::binary);
   return {std::istreambuf_iterator<char>(in), {}};
}

void run(std::string const& input) {
   LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(input.data()), input.size());
}

class Mutations {
 public:
   Mutations(std::vector<std::string> const& inputs, std::uint32_t seed) : inputs_(inputs), random_(seed) {}

   /// The head of one input and the tail of another, with some bytes changed.
   std::string next() {
      auto const& head = any();
      auto const& tail = any();
      auto input = head.substr(0, upTo(head.size() + 1)) + tail.substr(upTo(tail.size() + 1));
      for (auto changes = input.empty() ? 0 : upTo(8); changes > 0; --changes) {
         input[upTo(input.size())] = static_cast<char>(upTo(256));
      }
      return input;
   }

 private:
   std::size_t upTo(std::size_t bound) { return random_() % bound; }
   std::string const& any() { return inputs_[upTo(inputs_.size())]; }

   std::vector<std::string> const& inputs_;
   std::mt19937 random_;
};

// Processor time, for the clock may be the harness's own.
double secondsSpent() {
   rusage usage{};
   getrusage(RUSAGE_SELF, &usage);
   auto const seconds = [](timeval time) {
      return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
   };
   return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void mutate(std::vector<std::string> const& inputs, int seconds) {
   auto const until = secondsSpent() + seconds;
   auto const kept = fs::current_path() / "mutation";
   Mutations mutations(inputs, std::random_device()());
   std::size_t count = 0;
   for (; secondsSpent() < until; ++count) {
      auto const input = mutations.next();
      std::ofstream(kept, std::ios::binary) << input;
      run(input);
   }
   fs::remove(kept);
   std::printf("%zu mutations\n", count);
}

}  // namespace

int main(int argc, char** argv) {
   std::vector<std::string> inputs;
   int seconds = 0;
   for (int i = 1; i < argc; ++i) {
      if (argv[i] == std::string("--mutate") && i + 1 < argc) {
         seconds = std::atoi(argv[++i]);
         continue;
      }
      for (auto const& file : filesOf(argv[i])) {
         std::printf("%s\n", file.c_str());
         std::fflush(stdout);  // the last one is what ended the process
         inputs.push_back(contentOf(file));
         run(inputs.back());
      }
   }
   if (inputs.empty()) return 1;
   if (seconds > 0) mutate(inputs, seconds);
   return 0;
}
