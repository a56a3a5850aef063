// Stands in for the fuzzer where there is none: runs a harness over kept inputs, files or folders of them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
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

}  // namespace

int main(int argc, char** argv) {
   std::size_t count = 0;
   for (auto const& argument : std::vector<std::string>(argv + 1, argv + argc)) {
      for (auto const& file : filesOf(argument)) {
         std::printf("%s\n", file.c_str());
         std::fflush(stdout);  // the last one is what ended the process
         std::ifstream in(file, std::ios::binary);
         std::string const bytes(std::istreambuf_iterator<char>(in), {});
         LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
         ++count;
      }
   }
   return count > 0 ? 0 : 1;
}
