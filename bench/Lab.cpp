#include "bench/Lab.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "clients/support/Call.h"
#include "proto/remote/nexthop_group.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"

// This program reaches every agent by its Unix socket, whatever namespace that is in.
namespace VelmSdkRpc::Bench {
namespace {

// Devices of two ends with one index are told of carriers a second late. A device that goes up takes redirected frames
// only if its other end has GRO by then.
void plug(std::size_t number, Namespace const& network, Namespace const& host) {
   network.run(
      fmt::format("ip link add Ethernet{0} index {1} address 02:00:00:00:01:{0:02x} type veth"
                  " peer name eth0 address 02:00:00:00:02:{0:02x} netns {2}\n"
                  "ethtool -K Ethernet{0} rxvlan off gro on >/dev/null\n",
                  number, 1000 + number, host.path()));
   host.run(
      fmt::format("ethtool -K eth0 tx off txvlan off gro on >/dev/null\n"
                  "ip addr add 10.0.{0}.2/24 dev eth0\n"
                  "ip link set eth0 up\n"
                  "ip route add default via 10.0.{0}.1\n",
                  number));
   network.run(
      fmt::format("ip addr add 10.0.{0}.1/24 dev Ethernet{0}\n"
                  "ip link set Ethernet{0} up\n",
                  number));
}

}  // namespace

Namespace::Namespace() { run("echo 1 >/proc/sys/net/ipv6/conf/default/disable_ipv6\nip link set lo up\n"); }

void Namespace::run(std::string const& lines) const {
   Inside const inside(*this);
   if (std::system(("PATH=$PATH:/usr/sbin:/sbin; set -e\n" + lines).c_str()) != 0) {
      throw std::runtime_error("in a namespace failed: " + lines.substr(0, 1000));
   }
}

Lab::Lab(std::size_t hosts) : hosts_(hosts) {
   network_.run("echo 1 >/proc/sys/net/ipv4/ip_forward\n");
   for (std::size_t number = 1; number <= hosts; ++number) {
      plug(number, network_, host(number));
   }
}

Server Lab::start(std::string const& agent, std::string const& dataplane) const {
   Namespace::Inside const inside(network_);
   auto arguments = quietly();
   arguments.insert(arguments.end(), {"--switch-dataplane", dataplane});
   return Server(agent, arguments);
}

Groups::Groups(Server const& agent) : agent_(agent) {}

void Groups::set(std::string const& name, std::vector<std::size_t> const& hosts) const {
   pb::nexthop_group_msg group;
   group.set_name(name);
   for (auto const host : hosts) {
      auto& nexthop = *group.add_nexthop();
      nexthop.mutable_nexthop_ip()->set_addr(std::string{10, 0, static_cast<char>(host), 2});
      nexthop.set_nexthop_interface(fmt::format("Ethernet{}", host));
      nexthop.set_replicate_count(1);
   }
   auto const stub = pb::velmsdk_service::NewStub(agent_.channel());
   auto const status = call(*stub, &pb::velmsdk_service::Stub::nexthop_group, group);
   if (status.status() != pb::rpc_status_msg::STATUS_SUCCESS) {
      throw std::runtime_error("nexthop_group: " + status.ShortDebugString());
   }
}

void Groups::awaitActive(std::string const& name) const {
   using Service = velm::remote::NexthopGroupMgrService;
   auto const stub = Service::NewStub(agent_.channel());
   velm::remote::NexthopGroupActiveRequest request;
   request.set_name(name);
   auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
   while (!call(*stub, &Service::Stub::active, request).active()) {
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("no packets leave by " + name);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
   }
}

}  // namespace VelmSdkRpc::Bench
