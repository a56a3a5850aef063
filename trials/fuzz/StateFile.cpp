// The reader of the state folder: files that are not what a switch left. What lies within pages that the database
// trusts is not touched: they bear no checksums.
#include <array>
#include <fstream>

#include "trials/fuzz/State.h"

namespace VelmSdkRpc::fuzz {
namespace {

constexpr std::size_t pageSize = 4096;

/// A field that the folder looks at before the file is mapped, by its place in each of the first two pages: magic,
/// version, page size, and of the last page's number all but the low byte, for one that is too small lies about no more
/// than content.
struct Field {
   std::size_t offset;
   std::size_t size;
};
constexpr std::array fields{Field{16, 4}, Field{20, 4}, Field{40, 4}, Field{137, 7}};

std::string read(std::string const& path) {
   std::ifstream in(path, std::ios::binary | std::ios::ate);
   std::string content(static_cast<std::size_t>(in.tellg()), '\0');
   in.seekg(0).read(content.data(), static_cast<std::streamsize>(content.size()));
   return content;
}

void damage(Choices& choices, std::string& content) {
   switch (choices.upTo(6)) {
      case 0: content.resize(choices.upTo(static_cast<std::uint32_t>(content.size()))); break;
      case 1: content.resize(pageSize * choices.upTo(64) + choices.upTo(2) * choices.upTo(pageSize)); break;
      case 2: content = choices.rest(); break;
      default: {
         auto const [offset, size] = choices.oneOf(fields);
         auto const bytes = choices.take(size);
         content.replace(choices.upTo(2) * pageSize + offset, bytes.size(), bytes);
      }
   }
}

}  // namespace
}  // namespace VelmSdkRpc::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   namespace fuzz = VelmSdkRpc::fuzz;
   static fuzz::StateFolder const folder;
   static std::string const good = [] {
      write(folder, fuzz::someRows());
      return fuzz::read(folder.file());
   }();
   fuzz::Choices choices(data, size);
   folder.clear();
   if (choices.upTo(8) == 1) std::ofstream(folder.path() + "/letter.txt") << "mine";
   auto content = good;
   for (auto left = choices.upTo(3); left > 0; --left) {
      if (content.size() > 2 * fuzz::pageSize) fuzz::damage(choices, content);
   }
   std::ofstream(folder.file(), std::ios::binary) << content;
   bool const taken = fuzz::live(folder, choices);
   fuzz::expect(taken || fuzz::read(folder.file()) == content, "a file that was refused has changed");
   return 0;
}
