#include "agent/ConnectionBreaker.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <filesystem>

// gRPC gives nobody the sockets of its connections. They are found from outside, among the process's descriptors: an
// accepted socket has the address of the one that accepted it, and no other socket of the process has that.

namespace VelmSdkRpc {
namespace {

// The address that the socket itself is bound to, empty if the descriptor is not a socket. An accepted TCP socket has a
// definite address even if the listening one has all of the machine's, so for TCP the port alone is compared.
std::string addressOf(int descriptor) {
   sockaddr_storage address{};
   socklen_t size = sizeof address;
   auto* const generic = reinterpret_cast<sockaddr*>(&address);
   if (getsockname(descriptor, generic, &size) != 0) return {};
   if (address.ss_family == AF_INET) return std::to_string(reinterpret_cast<sockaddr_in*>(generic)->sin_port);
   if (address.ss_family == AF_INET6) return std::to_string(reinterpret_cast<sockaddr_in6*>(generic)->sin6_port);
   return {reinterpret_cast<char const*>(generic), std::min<std::size_t>(size, sizeof address)};
}

bool listens(int descriptor) {
   int value = 0;
   socklen_t size = sizeof value;
   return getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &value, &size) == 0 && value != 0;
}

// Calls fn(descriptor) for all that the process has open. One that is closed or opened meanwhile does no harm: what is
// asked of it then fails, or says that it is not of interest.
template <class Fn>
void eachDescriptor(Fn&& fn) {
   std::error_code error;
   for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
      fn(std::stoi(entry.path().filename()));
   }
}

std::vector<std::string> listeningAddresses() {
   std::vector<std::string> addresses;
   eachDescriptor([&](int descriptor) {
      if (listens(descriptor)) addresses.push_back(addressOf(descriptor));
   });
   return addresses;
}

void breakConnectionsOf(std::vector<std::string> const& listening) {
   eachDescriptor([&](int descriptor) {
      if (std::ranges::find(listening, addressOf(descriptor)) != listening.end()) shutdown(descriptor, SHUT_RDWR);
   });
}

}  // namespace

ConnectionBreaker::ConnectionBreaker(std::chrono::milliseconds patience)
   : listening_(listeningAddresses()), thread_([this, patience] {
        std::unique_lock lock(mutex_);
        if (!over_.wait_for(lock, patience, [this] { return isOver_; })) breakConnectionsOf(listening_);
     }) {}

ConnectionBreaker::~ConnectionBreaker() {
   {
      std::lock_guard const lock(mutex_);
      isOver_ = true;
   }
   over_.notify_one();
   thread_.join();
}

}  // namespace VelmSdkRpc
