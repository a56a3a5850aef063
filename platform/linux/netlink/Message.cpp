#include "platform/linux/netlink/Message.h"

#include <netlink/attr.h>
#include <netlink/msg.h>

#include <algorithm>

#include "platform/velm/errors.h"

namespace velm::netlink {
namespace {

void fits(bool done) {
   if (!done) throw error("no room in a netlink message");
}

}  // namespace

void Request::Free::operator()(nl_msg* message) const { nlmsg_free(message); }

Request::Request(int type, int flags) : message_(nlmsg_alloc_simple(type, flags)) { fits(message_ != nullptr); }

void Request::append(void const* header, std::size_t size) {
   fits(nlmsg_append(message_.get(), const_cast<void*>(header), size, NLMSG_ALIGNTO) == 0);
}

void Request::putBytes(int attribute, void const* bytes, std::size_t size) {
   fits(nla_put(message_.get(), attribute, static_cast<int>(size), bytes) == 0);
}

nlattr* Request::nestBegin(int attribute) {
   nlattr* const begin = nla_nest_start(message_.get(), attribute | NLA_F_NESTED);
   fits(begin != nullptr);
   return begin;
}

void Request::nestEnd(nlattr* begin) { fits(nla_nest_end(message_.get(), begin) == 0); }

bool Request::isDump() const { return (nlmsg_hdr(message_.get())->nlmsg_flags & NLM_F_DUMP) == NLM_F_DUMP; }

Attributes::Attributes(nlmsghdr const& message, std::size_t header) {
   if (message.nlmsg_len < NLMSG_LENGTH(header)) return;
   first_ = nlmsg_attrdata(&message, static_cast<int>(header));
   size_ = nlmsg_attrlen(&message, static_cast<int>(header));
}

Attributes::Attributes(nlattr const* nest) {
   if (nest == nullptr) return;
   first_ = static_cast<nlattr const*>(nla_data(nest));
   size_ = nla_len(nest);
}

nlattr const* Attributes::find(int attribute) const { return find(attribute, 0); }

nlattr const* Attributes::find(int attribute, std::size_t size) const {
   nlattr const* const found = first_ == nullptr ? nullptr : nla_find(first_, size_, attribute);
   return found != nullptr && static_cast<std::size_t>(nla_len(found)) >= size ? found : nullptr;
}

std::string Attributes::text(int attribute) const {
   nlattr const* const found = find(attribute);
   if (found == nullptr) return {};
   auto const* const text = static_cast<char const*>(nla_data(found));
   return {text, strnlen(text, static_cast<std::size_t>(nla_len(found)))};
}

}  // namespace velm::netlink
