#pragma once

#include <gtest/gtest.h>

#include <string>

namespace velm {

/// A network namespace of the test's own, which goes with this object and what is open in it. Throws
/// std::system_error without the rights.
class Namespace {
 public:
   Namespace();
   ~Namespace();
   Namespace(Namespace const&) = delete;
   Namespace& operator=(Namespace const&) = delete;

   /// Its path for `ip link set … netns`, while this object lives.
   std::string path() const;

   /// The thread is in the namespace while this lives; they may be nested.
   class Inside {
    public:
      explicit Inside(Namespace const& space);
      ~Inside();
      Inside(Inside const&) = delete;
      Inside& operator=(Inside const&) = delete;

    private:
      int const before_;
   };

   /// Runs commands of `ip`, one a line, in the namespace; returns whether all went well.
   bool tryIp(std::string const& lines) const;
   void ip(std::string const& lines) const { EXPECT_TRUE(tryIp(lines)) << lines.substr(0, 1000); }
   /// Writes below /proc/sys/net.
   void sysctl(std::string const& name, std::string const& value) const;
   /// Sends a UDP datagram to the discard port of the address, from the namespace's stack.
   void datagram(std::string const& address) const;

 private:
   int const space_;
};

/// Why no namespaces can be made here; empty if they can.
std::string whyNoNamespaces();

}  // namespace velm
