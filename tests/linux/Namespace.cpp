#include "tests/linux/Namespace.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdio>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace velm {
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
