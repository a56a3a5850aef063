#include "platform/switch/StateFolder.h"

#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <utility>

#include "platform/switch/Database.h"

// A folder is claimed by the kernel's lock on it, which goes with the process however that ends. A lock file with a
// process's number would outlive a kill. The states of a folder:
//
//    absent ---> made, claimed ---> switch.mdb.new is being filled ---> renamed to switch.mdb: counts from now on
//                                      |  killed here
//                                      v
//                                   fresh again: the draft is thrown away by the next process
//
// The file under the final name is always whole. A folder with other files in it and no state is refused, so that a
// mistyped path does not make an agent settle among files that are not its own.
namespace velm::embedded {
namespace {

namespace fs = std::filesystem;

std::string reason(int error) { return std::strerror(error); }

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
      if (auto const why = Database::misfit(file()); !why.empty()) throw StateRefused(path_, why);
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
