#include "clients/velmctl/File.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace VelmSdkRpc::ctl {
namespace {

class Descriptor {
 public:
   explicit Descriptor(std::string const& path)
      : file_(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
   ~Descriptor() {
      if (file_ >= 0) close(file_);
   }
   Descriptor(Descriptor const&) = delete;
   Descriptor& operator=(Descriptor const&) = delete;

   int number() const { return file_; }

 private:
   int file_;
};

}  // namespace

std::string contentOf(std::string const& path) {
   auto const refuse = [&] {
      throw std::system_error(errno, std::generic_category(), fmt::format("cannot read {}", path));
   };
   Descriptor const file(path);
   if (file.number() < 0) refuse();
   struct stat status {};
   if (fstat(file.number(), &status) != 0) refuse();
   constexpr std::size_t least = 1 << 16;  // for a file without a size, such as a pipe
   std::string content(std::max(least, static_cast<std::size_t>(status.st_size) + 1), '\0');
   std::size_t size = 0;
   for (;;) {
      if (size == content.size()) content.resize(2 * size);
      auto const count = read(file.number(), content.data() + size, content.size() - size);
      if (count < 0) refuse();
      if (count == 0) break;
      size += static_cast<std::size_t>(count);
   }
   content.resize(size);
   return content;
}

}  // namespace VelmSdkRpc::ctl
