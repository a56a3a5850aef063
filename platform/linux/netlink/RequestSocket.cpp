#include "platform/linux/netlink/RequestSocket.h"

#include <fmt/format.h>
#include <linux/netlink.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "platform/velm/errors.h"

namespace velm::netlink {
namespace {

constexpr timeval patience{.tv_sec = 5, .tv_usec = 0};
constexpr std::array faultsOfTheMachine{EPERM, ENOMEM, ENOBUFS, EAGAIN, EBUSY, EINTR, EMSGSIZE};

std::string textOf(int failure) {
   char const* const text = strerrordesc_np(failure);
   char const* const name = strerrorname_np(failure);
   return text == nullptr || name == nullptr ? fmt::format("error {}", failure) : fmt::format("{} ({})", text, name);
}

// NETLINK_CAP_ACK leaves of the refused request its header only; the attributes come behind it.
Outcome outcomeOf(nlmsghdr const& message) {
   auto const* const verdict = headerOf<nlmsgerr>(message);
   Outcome outcome;
   outcome.failure = verdict == nullptr ? EBADMSG : -verdict->error;
   if ((message.nlmsg_flags & NLM_F_ACK_TLVS) != 0) {
      outcome.reason = Attributes(message, sizeof(nlmsgerr)).text(NLMSGERR_ATTR_MSG);
   }
   return outcome;
}

}  // namespace

void demand(Outcome const& outcome, std::string const& what) {
   if (outcome.failure == 0) return;
   auto const separator = outcome.reason.empty() ? "" : ", ";
   auto const text = fmt::format("{}: {}{}{}", what, textOf(outcome.failure), separator, outcome.reason);
   if (std::ranges::count(faultsOfTheMachine, outcome.failure) != 0) throw error(text);
   throw configuration_error(text);
}

RequestSocket::RequestSocket(int protocol) : socket_(protocol) {
   setsockopt(socket_.fd(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
   socket_.option(SOL_NETLINK, NETLINK_CAP_ACK, 1);
   socket_.option(SOL_NETLINK, NETLINK_EXT_ACK, 1);
   socket_.option(SOL_NETLINK, NETLINK_GET_STRICT_CHK, 1);  // lists heed the link that they are asked for
}

Outcome RequestSocket::ask(Request const& request, Each const& each) {
   nlmsghdr* const header = nlmsg_hdr(request.message());
   header->nlmsg_seq = 0;  // a request that is sent again gets a new number
   nl_complete_msg(socket_.handle(), request.message());
   sockaddr_nl kernel{};
   kernel.nl_family = AF_NETLINK;
   if (sendto(socket_.fd(), header, header->nlmsg_len, 0, reinterpret_cast<sockaddr*>(&kernel), sizeof kernel) < 0) {
      throw error(fmt::format("a request to the kernel cannot be sent: {}", textOf(errno)));
   }
   Outcome outcome;
   bool interrupted = false;
   for (bool answered = false; !answered;) {
      int const failure = socket_.receive([&](nlmsghdr const& message) {
         // What an earlier request left, whose answer was not waited for to its end, is passed over.
         if (answered || message.nlmsg_seq != header->nlmsg_seq) return;
         interrupted |= (message.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
         if (message.nlmsg_type == NLMSG_ERROR) {
            outcome = outcomeOf(message);
            answered = true;
         } else if (message.nlmsg_type == NLMSG_DONE) {
            auto const* const failed = headerOf<int>(message);
            outcome.failure = failed == nullptr ? 0 : -*failed;
            answered = true;
         } else if (each) {
            each(message);
         }
      });
      if (failure == EAGAIN) throw error("the kernel has not answered a request for five seconds");
      if (failure != 0) throw error(fmt::format("an answer of the kernel is lost: {}", textOf(failure)));
   }
   outcome.interrupted = interrupted;
   return outcome;
}

}  // namespace velm::netlink
