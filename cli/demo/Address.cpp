#include "cli/demo/Address.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <array>
#include <stdexcept>

namespace VelmSdkRpc::demo {

std::string addressBytes(std::string const& text) {
   bool const v6 = text.find(':') != std::string::npos;
   std::array<char, sizeof(in6_addr)> bytes{};
   if (inet_pton(v6 ? AF_INET6 : AF_INET, text.c_str(), bytes.data()) != 1) {
      throw std::invalid_argument("not an IP address: " + text);
   }
   return {bytes.data(), v6 ? sizeof(in6_addr) : sizeof(in_addr)};
}

std::string addressText(std::string const& bytes) {
   bool const v6 = bytes.size() == sizeof(in6_addr);
   if (!v6 && bytes.size() != sizeof(in_addr)) {
      throw std::invalid_argument(fmt::format("an IP address of {} bytes", bytes.size()));
   }
   std::array<char, INET6_ADDRSTRLEN> text{};
   return inet_ntop(v6 ? AF_INET6 : AF_INET, bytes.data(), text.data(), text.size());
}

}  // namespace VelmSdkRpc::demo
