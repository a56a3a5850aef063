#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/linux/Sizes.h"
#include "platform/linux/bpf/Layout.h"

namespace velm::machine {

/// The shared arrays, which live as long as their Program.
struct SharedArrays {
   std::span<std::byte> trie;
   std::span<vrf> vrfs;
   std::span<label_word> labels;  // LABEL_COUNT
   std::span<group_word> groups;
   std::span<bucket_word> buckets;
   std::span<exit_row> exits;
   std::span<redirect_row> redirects;
   std::span<hop> hops;
   std::span<port> ports;
   std::span<std::uint64_t> drops;       // MAX_DROP_REASONS for each possible CPU
   std::span<port_traffic> portTraffic;  // MAX_PORTS for each possible CPU
   std::span<traffic> entryTraffic;      // for each possible CPU one for each exit, then OWN_COUNTERS
};

/// The XDP program, loaded into the kernel, and the memory that it shares. The SDK lock guards it.
class Program {
 public:
   /// Throws velm::error with the reason: missing rights, a kernel that lacks something, not enough memory.
   Program(Sizes const& sizes, std::uint64_t hashSeed);
   ~Program();
   Program(Program const&) = delete;
   Program& operator=(Program const&) = delete;

   SharedArrays const& arrays() const { return arrays_; }
   static std::size_t cpus();
   int fd() const;

   /// Frames of the device, with that VLAN tag or none for 0, belong to the port of that index from now on.
   void portIs(port_key const& key, std::uint32_t index);
   void portDel(port_key const& key);
   /// The row of a policy's redirects for a group.
   void redirectIs(redirect_key const& key, std::uint32_t row);
   void redirectDel(redirect_key const& key);
   /// What is sent by the port leaves through the device.
   void deviceIs(std::uint32_t port, int ifindex);
   void deviceDel(std::uint32_t port);

 private:
   struct Loaded;
   std::unique_ptr<Loaded> loaded_;
   SharedArrays arrays_;
};

/// The program at work on a device, until this ends. The kernel ends it too when the device goes.
class Attachment {
 public:
   enum class Mode { native, generic };

   /// In the driver where that can, else in the kernel's generic way. Throws velm::error if another program is there.
   Attachment(Program const& program, int ifindex);
   ~Attachment();
   Attachment(Attachment const&) = delete;
   Attachment& operator=(Attachment const&) = delete;

   Mode mode() const { return mode_; }

 private:
   int link_ = -1;
   Mode mode_ = Mode::native;
};

}  // namespace velm::machine
