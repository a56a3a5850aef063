#include "bench/Probe.h"

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

// Both ends are packet sockets, so that no stack of a host adds to what the switch takes. A packet tells its number and
// when it was sent; when it came, the kernel says. It waits in the socket meanwhile, so nobody needs to be quick.
namespace VelmSdkRpc::Bench {
namespace {

constexpr in_port_t discard = 9;
constexpr in_port_t firstPort = 20'000;
constexpr int bufferBytes = 256 << 20;

struct [[gnu::packed]] Frame {
   ether_header ethernet;
   iphdr ip;
   udphdr udp;
   std::uint64_t number;
   std::int64_t sent;
};

int must(int result, char const* what) {
   if (result < 0) throw std::system_error(errno, std::generic_category(), what);
   return result;
}

int socketOf(Namespace const& space, std::uint16_t protocol) {
   Namespace::Inside const inside(space);
   int const made = must(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(protocol)), "a packet socket");
   sockaddr_ll where{};
   where.sll_family = AF_PACKET;
   where.sll_protocol = htons(protocol);
   where.sll_ifindex = static_cast<int>(if_nametoindex("eth0"));
   must(bind(made, reinterpret_cast<sockaddr*>(&where), sizeof where), "a packet socket of eth0");
   return made;
}

int receiving(Namespace const& space) {
   int const made = socketOf(space, ETH_P_IP);
   int const yes = 1;
   must(setsockopt(made, SOL_SOCKET, SO_TIMESTAMPNS, &yes, sizeof yes), "times of arrival");
   must(setsockopt(made, SOL_SOCKET, SO_RCVBUFFORCE, &bufferBytes, sizeof bufferBytes), "a large buffer");
   return made;
}

std::uint16_t checksum(iphdr const& header) {
   std::array<std::uint16_t, sizeof(iphdr) / 2> words{};
   std::memcpy(words.data(), &header, sizeof header);
   std::uint32_t sum = 0;
   for (auto const word : words) sum += word;
   while (sum >> 16 != 0) sum = (sum & 0xffff) + (sum >> 16);
   return static_cast<std::uint16_t>(~sum);
}

Frame frameTo(std::uint32_t destination) {
   Frame frame{};
   frame.ethernet = {{2, 0, 0, 0, 1, 1}, {2, 0, 0, 0, 2, 1}, htons(ETHERTYPE_IP)};
   frame.ip.version = 4;
   frame.ip.ihl = 5;
   frame.ip.ttl = 64;
   frame.ip.protocol = IPPROTO_UDP;
   frame.ip.tot_len = htons(sizeof(Frame) - sizeof(ether_header));
   frame.ip.saddr = htonl(10U << 24 | 1U << 8 | 2U);
   frame.ip.daddr = htonl(destination);
   frame.ip.check = checksum(frame.ip);
   frame.udp.dest = htons(discard);
   frame.udp.len = htons(sizeof(Frame) - sizeof(ether_header) - sizeof(iphdr));
   return frame;
}

Probe::Clock::time_point timeOf(msghdr& message) {
   for (auto* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
      if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMPNS) continue;
      timespec time{};
      std::memcpy(&time, CMSG_DATA(part), sizeof time);
      return Probe::Clock::time_point(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
   }
   throw std::runtime_error("a packet without its time");
}

}  // namespace

Probe::Probe(Lab const& lab, Options options)
   : options_(std::move(options)),
     out_(socketOf(lab.host(1), 0)),
     in_([&] {
        std::map<std::size_t, int> sockets;
        for (auto const host : options_.listening) sockets[host] = receiving(lab.host(host));
        return sockets;
     }()),
     load_([this] { send(); }) {}

Probe::~Probe() {
   load_.stop();
   close(out_);
   for (auto const& [host, socket] : in_) close(socket);
}

// Sleeping would be less exact than the times that are measured.
void Probe::send() {
   auto frame = frameTo(options_.destination);
   frame.udp.source = htons(static_cast<in_port_t>(firstPort + next_ % options_.flows));
   frame.number = next_++;
   auto now = Clock::now();
   while (now < due_) now = Clock::now();
   due_ = now + options_.gap;
   frame.sent = now.time_since_epoch().count();
   must(static_cast<int>(::send(out_, &frame, sizeof frame, 0)), "a packet of the probe");
}

std::vector<Probe::Packet> Probe::take() {
   std::vector<Packet> packets;
   for (auto const& [host, socket] : in_) takeFrom(host, socket, packets);
   std::ranges::sort(packets, {}, &Packet::number);
   return packets;
}

void Probe::takeFrom(std::size_t host, int socket, std::vector<Packet>& packets) const {
   Frame frame{};
   iovec part{&frame, sizeof frame};
   alignas(cmsghdr) std::array<char, 128> control{};
   while (true) {
      msghdr message{};
      message.msg_iov = &part;
      message.msg_iovlen = 1;
      message.msg_control = control.data();
      message.msg_controllen = control.size();
      auto const size = recvmsg(socket, &message, MSG_DONTWAIT);
      if (size < 0 && errno == EAGAIN) break;
      if (size < 0 && errno == ENETDOWN) continue;  // that it was down once
      must(static_cast<int>(size), "the probe's packets");
      if (size != sizeof frame || frame.udp.dest != htons(discard)) continue;
      packets.push_back({frame.number, Clock::time_point(std::chrono::nanoseconds(frame.sent)), timeOf(message), host});
   }
   tpacket_stats figures{};
   socklen_t length = sizeof figures;
   must(getsockopt(socket, SOL_PACKET, PACKET_STATISTICS, &figures, &length), "what the socket left out");
   if (figures.tp_drops > 0) throw std::runtime_error("the probe is read too seldom");
}

}  // namespace VelmSdkRpc::Bench
