#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/netlink/Machine.h"
#include "tests/linux/Namespace.h"

namespace velm::netlink {

/// Keeps what it is told, as text, and sees to it that the news make sense one after the other.
class Recorder final : public Observer<Link>, public Observer<Address>, public Observer<Neighbour> {
 public:
   void came(Link const& now) override;
   void changed(Link const& before, Link const& now) override;
   void gone(Link const& before) override;
   void came(Address const& now) override;
   void changed(Address const& before, Address const& now) override;
   void gone(Address const& before) override;
   void came(Neighbour const& now) override;
   void changed(Neighbour const& before, Neighbour const& now) override;
   void gone(Neighbour const& before) override;

   std::vector<std::string> told;
   std::function<void()> within;  // is called inside each notice

 private:
   std::string name(int ifindex) const;
   void tell(std::string text);
   void add(std::string const& thing);
   void del(std::string const& thing);

   std::map<int, std::string> names_;  // of the links that are there
   std::set<std::string> known_;
   bool telling_ = false;
};

/// A namespace "the switch" with Ethernet1, whose other end h1 lies in the namespace of the hosts; both are down.
class MachineTest : public ::testing::Test {
 protected:
   void SetUp() override;

   /// Starts to observe the switch's namespace.
   void observe(std::size_t buffer = Machine::usualBuffer);
   /// Waits until the text is told and takes it from what was told.
   void await(std::string const& text);
   /// Waits until the condition holds, reading notices.
   void await(std::function<bool()> const& condition, std::string const& what);
   /// All that was told up to now, which is forgotten.
   std::vector<std::string> news();
   /// Of these, those that begin with the text.
   std::vector<std::string> newsOf(std::string const& start);
   int index(std::string const& name) const;

   Recorder recorder;
   std::unique_ptr<Namespace> device;  // the switch
   std::unique_ptr<Namespace> hosts;
   std::unique_ptr<Machine> machine;
};

}  // namespace velm::netlink
