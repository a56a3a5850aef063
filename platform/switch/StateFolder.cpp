#include "platform/switch/StateFolder.h"

#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <utility>

namespace velm::embedded {
namespace {

namespace fs = std::filesystem;

std::string reason(int error) { return std::strerror(error); }

// The front of each of the file's first two pages, as the database lays it out: the younger one counts.
struct Meta {
   std::array<unsigned char, 16> pageHeader;
   std::uint32_t magic;
   std::uint32_t version;
   std::uint64_t address;
   std::uint64_t mapSize;
   std::uint32_t pageSize;  // kept in a spare field of the first tree's record
   std::array<unsigned char, 92> trees;
   std::uint64_t lastPage;
   std::uint64_t transaction;
};
static_assert(sizeof(Meta) == 152);

constexpr std::uint32_t fileMagic = 0xBEEFC0DE;
constexpr std::uint32_t fileVersion = 1;

class File {
 public:
   File(std::string const& folder, std::string const& path)
      : folder_(folder), fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
      if (fd_ < 0) throw StateRefused(folder, fmt::format("{} cannot be read: {}", path, reason(errno)));
   }
   ~File() { ::close(fd_); }
   File(File const&) = delete;
   File& operator=(File const&) = delete;

   std::uint64_t size() const {
      struct stat status {};
      ::fstat(fd_, &status);
      return static_cast<std::uint64_t>(status.st_size);
   }
   Meta metaAt(std::uint64_t offset) const {
      Meta meta{};
      if (::pread(fd_, &meta, sizeof meta, static_cast<off_t>(offset)) != static_cast<ssize_t>(sizeof meta)) {
         throw StateRefused(folder_, "its file is truncated");
      }
      if (meta.magic != fileMagic || meta.version != fileVersion) {
         throw StateRefused(folder_, "its file is not one of this switch");
      }
      return meta;
   }

 private:
   std::string const& folder_;
   int fd_;
};

void checkLength(std::string const& folder, std::string const& path) {
   File const file(folder, path);
   auto const first = file.metaAt(0);
   bool const sane = first.pageSize >= 512 && (first.pageSize & (first.pageSize - 1)) == 0;
   if (!sane) throw StateRefused(folder, "its file is damaged");
   auto const second = file.metaAt(first.pageSize);
   auto const& current = first.transaction > second.transaction ? first : second;
   if (current.lastPage >= file.size() / first.pageSize) throw StateRefused(folder, "its file is truncated");
}

}  // namespace

StateRefused::StateRefused(std::string const& path, std::string const& why)
   : std::runtime_error(fmt::format("state folder {}: {}", path, why)) {}

StateFolder::StateFolder(std::string path) : path_(std::move(path)) {
   claim();
   try {
      checkContents();
   } catch (...) {
      ::close(fd_);
      throw;
   }
}

StateFolder::~StateFolder() { ::close(fd_); }

void StateFolder::claim() {
   std::error_code failure;
   fs::create_directories(fs::path(path_).parent_path(), failure);  // what matters shows below
   ::mkdir(path_.c_str(), S_IRWXU);
   fd_ = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
   if (fd_ < 0) throw StateRefused(path_, fmt::format("it cannot be opened: {}", reason(errno)));
   // The lock is the kernel's: it goes with the process, however that ends.
   if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
      int const error = errno;
      ::close(fd_);
      throw StateRefused(path_, error == EWOULDBLOCK ? std::string("it is in use by another process")
                                                     : fmt::format("it cannot be locked: {}", reason(error)));
   }
}

void StateFolder::checkContents() {
   std::error_code failure;
   fresh_ = !fs::exists(file(), failure);
   if (failure) throw StateRefused(path_, fmt::format("it cannot be read: {}", failure.message()));
   if (!fresh_) {
      checkLength(path_, file());
      return;
   }
   for (auto const& entry : fs::directory_iterator(path_, failure)) {
      if (entry.path() != draft()) {
         throw StateRefused(path_, fmt::format("it holds {} and no state", entry.path().filename().string()));
      }
   }
   if (failure) throw StateRefused(path_, fmt::format("it cannot be read: {}", failure.message()));
   ::fchmod(fd_, S_IRWXU);  // there will be keys in it
}

}  // namespace velm::embedded
