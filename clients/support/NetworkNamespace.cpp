#include "clients/support/NetworkNamespace.h"

#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <system_error>
#include <unistd.h>

namespace VelmSdkRpc {
namespace {

int must(int result, char const* what) {
   if (result < 0) throw std::system_error(errno, std::generic_category(), what);
   return result;
}

int here() { return must(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC), "the network namespace"); }

int newNamespace() {
   int const before = here();
   if (unshare(CLONE_NEWNET) != 0) {
      int const failure = errno;
      close(before);
      throw std::system_error(failure, std::generic_category(), "a new network namespace");
   }
   int const made = here();
   must(setns(before, CLONE_NEWNET), "the way back");
   close(before);
   return made;
}

}  // namespace

NetworkNamespace::NetworkNamespace() : space_(newNamespace()) {}
NetworkNamespace::~NetworkNamespace() { close(space_); }

std::string NetworkNamespace::path() const {
   return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(space_);
}

NetworkNamespace::Inside::Inside(NetworkNamespace const& space) : before_(here()) {
   must(setns(space.space_, CLONE_NEWNET), "a network namespace");
}
NetworkNamespace::Inside::~Inside() {
   setns(before_, CLONE_NEWNET);
   close(before_);
}

}  // namespace VelmSdkRpc
