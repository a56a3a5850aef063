#pragma once

#include <gtest/gtest.h>

#include <string>

#include "clients/support/NetworkNamespace.h"

namespace velm {

/// A network namespace of the test's own.
class Namespace : public VelmSdkRpc::NetworkNamespace {
 public:
   /// Runs commands of `ip`, one a line, in the namespace; returns whether all went well.
   bool tryIp(std::string const& lines) const;
   void ip(std::string const& lines) const { EXPECT_TRUE(tryIp(lines)) << lines.substr(0, 1000); }
   /// Writes below /proc/sys/net.
   void sysctl(std::string const& name, std::string const& value) const;
   /// Sends a UDP datagram to the discard port of the address, from the namespace's stack.
   void datagram(std::string const& address) const;
};

/// Why no namespaces can be made here; empty if they can.
std::string whyNoNamespaces();

}  // namespace velm
