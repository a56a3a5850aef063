#include "tests/linux/MachineTest.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <poll.h>

namespace velm::netlink {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds deadline{20};

std::string textOf(Neighbour const& neighbour) {
   auto const mac = neighbour.mac.to_string();
   return neighbour.address.to_string() + (mac.empty() ? " unresolved" : " at " + mac) +
          (neighbour.managed ? " managed" : "") + (neighbour.permanent ? " permanent" : "");
}

}  // namespace

std::string Recorder::name(int ifindex) const {
   auto const found = names_.find(ifindex);
   return found == names_.end() ? "?" : found->second;
}

void Recorder::tell(std::string text) {
   told.push_back(std::move(text));
   EXPECT_FALSE(std::exchange(telling_, true)) << told.back() << " is told inside another notice";
   if (within) within();
   telling_ = false;
}

void Recorder::add(std::string const& thing) { EXPECT_TRUE(known_.insert(thing).second) << thing << " came twice"; }

void Recorder::del(std::string const& thing) { EXPECT_EQ(known_.erase(thing), 1U) << thing << " went without coming"; }

void Recorder::came(Link const& now) {
   add("name " + now.name);
   EXPECT_TRUE(names_.emplace(now.ifindex, now.name).second);
   tell("+" + now.name);
}

void Recorder::gone(Link const& before) {
   del("name " + before.name);
   EXPECT_EQ(names_.erase(before.ifindex), 1U);
   tell("-" + before.name);
}

void Recorder::changed(Link const& before, Link const& now) {
   auto const differs = [&](auto member, std::string const& text) {
      if (before.*member != now.*member) tell(now.name + " " + text);
   };
   EXPECT_EQ(name(now.ifindex), now.name);
   differs(&Link::adminUp, now.adminUp ? "up" : "down");
   differs(&Link::carrier, now.carrier ? "carrier" : "no carrier");
   differs(&Link::operational, now.operational ? "operational" : "not operational");
   differs(&Link::mtu, "mtu " + std::to_string(now.mtu));
   differs(&Link::mac, "mac " + now.mac.to_string());
   differs(&Link::alias, "alias " + now.alias);
   differs(&Link::master, now.master == 0 ? "free" : "in " + name(now.master));
}

void Recorder::came(Address const& now) {
   add(std::to_string(now.ifindex) + " has " + now.address.to_string());
   tell(name(now.ifindex) + " +" + now.address.to_string() + (now.automatic ? " automatic" : ""));
}

void Recorder::changed(Address const&, Address const& now) {
   tell(name(now.ifindex) + " " + now.address.to_string() + (now.automatic ? " automatic" : " by hand"));
}

void Recorder::gone(Address const& before) {
   del(std::to_string(before.ifindex) + " has " + before.address.to_string());
   tell(name(before.ifindex) + " -" + before.address.to_string());
}

void Recorder::came(Neighbour const& now) {
   add(std::to_string(now.ifindex) + " sees " + now.address.to_string());
   tell(name(now.ifindex) + " + " + textOf(now));
}

void Recorder::changed(Neighbour const&, Neighbour const& now) { tell(name(now.ifindex) + " " + textOf(now)); }

void Recorder::gone(Neighbour const& before) {
   del(std::to_string(before.ifindex) + " sees " + before.address.to_string());
   tell(name(before.ifindex) + " - " + before.address.to_string());
}

void MachineTest::SetUp() {
   if (auto const why = whyNoNamespaces(); !why.empty()) {
      char const* const rule = std::getenv("VELM_LINUX_TESTS");
      if (rule != nullptr && std::strcmp(rule, "required") == 0) FAIL() << why;
      GTEST_SKIP() << "needs root, for network namespaces of its own: " << why;
   }
   device = std::make_unique<Namespace>();
   hosts = std::make_unique<Namespace>();
   device->sysctl("ipv6/conf/default/addr_gen_mode", "1");  // no link-local addresses where nobody asks for them
   hosts->sysctl("ipv6/conf/default/addr_gen_mode", "1");
   // An index that is the same at both ends makes the kernel tell of carriers a second late.
   device->ip(
      "link add Ethernet1 index 11 type veth peer name h1 index 21\n"
      "link set h1 netns " +
      hosts->path());
}

void MachineTest::observe(std::size_t buffer) {
   Namespace::Inside const inside(*device);
   machine = std::make_unique<Machine>(recorder, recorder, recorder, buffer);
   machine->readable();
}

void MachineTest::await(std::string const& text) {
   await(
      [&] {
         auto const found = std::ranges::find(recorder.told, text);
         if (found == recorder.told.end()) return false;
         recorder.told.erase(found);
         return true;
      },
      text);
}

void MachineTest::await(std::function<bool()> const& condition, std::string const& what) {
   auto const until = Clock::now() + deadline;
   for (;;) {
      machine->readable();
      if (condition()) return;
      auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
      if (left <= 0) break;
      pollfd waiting{.fd = machine->fd(), .events = POLLIN, .revents = 0};
      poll(&waiting, 1, static_cast<int>(left));
   }
   FAIL() << what << " is not told, but " << ::testing::PrintToString(recorder.told);
}

std::vector<std::string> MachineTest::news() {
   machine->readable();
   return std::exchange(recorder.told, {});
}

std::vector<std::string> MachineTest::newsOf(std::string const& start) {
   auto told = news();
   std::erase_if(told, [&](std::string const& text) { return !text.starts_with(start); });
   return told;
}

int MachineTest::index(std::string const& name) const {
   for (auto const& [ifindex, link] : machine->links().rows()) {
      if (link.name == name) return ifindex;
   }
   return 0;
}

}  // namespace velm::netlink
