#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/netlink/Message.h"
#include "platform/linux/netlink/NetlinkSocket.h"

namespace velm::netlink {

/// What the kernel made of a request.
struct Outcome {
   int failure = 0;           // an errno, 0 for done
   std::string reason;        // the kernel's own words about the failure, mostly empty
   bool interrupted = false;  // a list that was made while what it lists changed: it may lack some
};

/// Throws for an outcome that is a failure: "<what>: <text of errno> (<its name>), <reason>". What the machine cannot
/// do at all now (rights, memory) is a velm::error, what contradicts its state a configuration_error.
void demand(Outcome const& outcome, std::string const& what);

/// The socket for requests, each of which waits for its answer, which the kernel has ready when it has taken the
/// request, or five seconds. One request at a time: any thread that holds the SDK lock. Notices never come here.
class RequestSocket {
 public:
   using Each = std::function<void(nlmsghdr const&)>;

   /// NETLINK_ROUTE or NETLINK_GENERIC.
   explicit RequestSocket(int protocol);

   /// Sends the request and calls each(), which must not throw, for the messages of the answer. Throws velm::error if
   /// it cannot be sent or no answer comes, which does not harm the next request.
   Outcome ask(Request const& request, Each const& each = {});
   /// The same for a change; throws as demand() does.
   void change(Request const& request, std::string const& what) { demand(ask(request), what); }
   /// Lists what read() makes of each message, an optional: anew, ten times at most, while the kernel says that it
   /// changed underway. Then the last list holds, and what it lacks is healed by the next change only.
   template <class Value, class Read>
   std::vector<Value> list(Request const& request, Read&& read) {
      std::vector<Value> values;
      Outcome outcome;
      for (int tries = 0; tries == 0 || (outcome.interrupted && tries < 10); ++tries) {
         values.clear();
         outcome = ask(request, [&](nlmsghdr const& message) {
            if (auto value = read(message)) values.push_back(*std::move(value));
         });
         demand(outcome, "the kernel's list cannot be read");
      }
      return values;
   }

 private:
   NetlinkSocket socket_;
};

}  // namespace velm::netlink
