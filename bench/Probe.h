#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "bench/Lab.h"
#include "bench/Load.h"

namespace VelmSdkRpc::Bench {

/// Small UDP packets from host 1 of a lab to one address, in turn of some flows, one every so often, by a thread of its
/// own; and where they come out. Throws std::system_error where a socket is refused.
class Probe {
 public:
   using Clock = std::chrono::system_clock;  // which the kernel stamps arrivals by
   struct Options {
      std::uint32_t destination;           // host order
      std::vector<std::size_t> listening;  // hosts
      std::uint16_t flows = 1;
      std::chrono::nanoseconds gap = std::chrono::microseconds(20);
   };
   struct Packet {
      std::uint64_t number;
      Clock::time_point sent;
      Clock::time_point arrived;
      std::size_t host;
   };

   Probe(Lab const& lab, Options options);
   ~Probe();
   Probe(Probe const&) = delete;
   Probe& operator=(Probe const&) = delete;

   /// What has come since the last call, by number. Throws std::runtime_error if there was no memory for some of it.
   std::vector<Packet> take();

 private:
   void send();
   void takeFrom(std::size_t host, int socket, std::vector<Packet>& packets) const;

   Options const options_;
   int const out_;
   std::map<std::size_t, int> in_;
   std::uint64_t next_ = 0;   // the thread's
   Clock::time_point due_{};  // the thread's
   Load load_;
};

}  // namespace VelmSdkRpc::Bench
