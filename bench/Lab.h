#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "bench/Server.h"
#include "clients/support/NetworkNamespace.h"

namespace VelmSdkRpc::Bench {

/// A network namespace of the benchmark's own, without IPv6.
class Namespace : public NetworkNamespace {
 public:
   Namespace();
   /// Runs lines of a shell in it. Throws std::runtime_error if one of them fails.
   void run(std::string const& lines) const;
};

/// A switch with hosts 1, 2, ... at its devices Ethernet1, Ethernet2, ..., each in a namespace. The switch has
/// 10.0.N.1/24 and the MAC 02:00:00:00:01:0N at host N, which has the .2 and 02:00:00:00:02:0N at its eth0. There is no
/// IPv6, so that the hosts are silent.
class Lab {
 public:
   explicit Lab(std::size_t hosts);

   Namespace const& network() const { return network_; }
   Namespace const& host(std::size_t number) const { return hosts_[number - 1]; }

   /// Starts an agent in the switch's namespace, which forwards by that dataplane.
   Server start(std::string const& agent, std::string const& dataplane) const;

 private:
   Namespace network_;
   std::deque<Namespace> hosts_;
};

/// Nexthop groups by the native service. Throws std::runtime_error if one is refused.
class Groups {
 public:
   explicit Groups(Server const& agent);
   /// Sets a group whose entries lead to these hosts of the lab, in turn. Returns with the answer.
   void set(std::string const& name, std::vector<std::size_t> const& hosts) const;
   /// Waits until packets leave by the group.
   void awaitActive(std::string const& name) const;

 private:
   Server const& agent_;
};

}  // namespace VelmSdkRpc::Bench
