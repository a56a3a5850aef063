#include "tests/linux/Namespace.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <system_error>
#include <unistd.h>

namespace velm {
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

Namespace::Namespace() : space_(newNamespace()) {}
Namespace::~Namespace() { close(space_); }

std::string Namespace::path() const { return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(space_); }

Namespace::Inside::Inside(Namespace const& space) : before_(here()) {
   must(setns(space.space_, CLONE_NEWNET), "the test's network namespace");
}

Namespace::Inside::~Inside() {
   setns(before_, CLONE_NEWNET);
   close(before_);
}

bool Namespace::tryIp(std::string const& lines) const {
   Inside const inside(*this);
   std::FILE* const program = popen("PATH=$PATH:/usr/sbin:/sbin ip -batch - >/dev/null", "w");
   if (program == nullptr) return false;
   std::fputs(lines.c_str(), program);
   return pclose(program) == 0;
}

void Namespace::sysctl(std::string const& name, std::string const& value) const {
   Inside const inside(*this);
   std::ofstream file("/proc/sys/net/" + name);
   EXPECT_TRUE(file << value << std::flush) << name;
}

void Namespace::datagram(std::string const& address) const {
   Inside const inside(*this);
   constexpr in_port_t discard = 9;
   sockaddr_in v4{.sin_family = AF_INET, .sin_port = htons(discard), .sin_addr = {}, .sin_zero = {}};
   sockaddr_in6 v6{};
   v6.sin6_family = AF_INET6;
   v6.sin6_port = htons(discard);
   bool const is6 = address.find(':') != std::string::npos;
   EXPECT_EQ(inet_pton(is6 ? AF_INET6 : AF_INET, address.c_str(),
                       is6 ? static_cast<void*>(&v6.sin6_addr) : static_cast<void*>(&v4.sin_addr)),
             1);
   auto const* const to = is6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
   int const udp = socket(is6 ? AF_INET6 : AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
   EXPECT_EQ(sendto(udp, "x", 1, 0, to, is6 ? sizeof v6 : sizeof v4), 1) << address;
   close(udp);
}

std::string whyNoNamespaces() {
   try {
      Namespace const space;
      return space.tryIp("link show lo") ? "" : "no program `ip`";
   } catch (std::system_error const& e) {
      return e.what();
   }
}

}  // namespace velm
