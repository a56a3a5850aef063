#include "platform/linux/InstanceLock.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <unistd.h>

#include "platform/velm/errors.h"

// A name of the abstract kind belongs to the network namespace, as the devices do, and goes with its socket: nothing is
// left behind by a process that was killed.
namespace velm::machine {

InstanceLock::InstanceLock() : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
   constexpr std::string_view name("\0VelmSdkRpc-dataplane", 21);
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   std::memcpy(address.sun_path, name.data(), name.size());
   auto const length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
   if (socket_ >= 0 && bind(socket_, reinterpret_cast<sockaddr const*>(&address), length) == 0) return;
   auto const failure = errno;
   close(socket_);
   throw error(failure == EADDRINUSE ? "another agent is the dataplane of this network namespace"
                                     : fmt::format("the dataplane of this network namespace cannot be claimed: {}",
                                                   std::strerror(failure)));
}

InstanceLock::~InstanceLock() { close(socket_); }

}  // namespace velm::machine
