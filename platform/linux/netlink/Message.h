#pragma once

#include <linux/netlink.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

struct nl_msg;

namespace velm::netlink {

/// A message to the kernel in the making: its header, then attributes in the order in which they are put. Throws
/// velm::error when memory runs out or the message outgrows a page.
class Request {
 public:
   /// NLM_F_REQUEST and NLM_F_ACK are added when it is sent.
   template <class Header>
   Request(int type, int flags, Header const& header) : Request(type, flags) {
      static_assert(std::is_trivially_copyable_v<Header>);
      append(&header, sizeof header);
   }

   template <class Number>
   void put(int attribute, Number number) {
      static_assert(std::is_arithmetic_v<Number>);
      putBytes(attribute, &number, sizeof number);
   }
   void putBytes(int attribute, void const* bytes, std::size_t size);
   /// What fill() puts goes inside the attribute.
   template <class Fill>
   void nest(int attribute, Fill&& fill) {
      nlattr* const begin = nestBegin(attribute);
      fill();
      nestEnd(begin);
   }

   nl_msg* message() const { return message_.get(); }
   bool isDump() const;

 private:
   struct Free {
      void operator()(nl_msg* message) const;
   };

   Request(int type, int flags);
   void append(void const* header, std::size_t size);
   nlattr* nestBegin(int attribute);
   void nestEnd(nlattr* begin);

   std::unique_ptr<nl_msg, Free> message_;
};

/// A look at the attributes of a message, or of an attribute that holds others; what is absent or too short for the
/// type asked for reads as absent. Lives no longer than the message.
class Attributes {
 public:
   /// Of a message whose own header, behind the netlink header, has the given size; none if it is shorter than that.
   Attributes(nlmsghdr const& message, std::size_t header);
   /// None for no attribute.
   explicit Attributes(nlattr const* nest);

   nlattr const* find(int attribute) const;
   Attributes nested(int attribute) const { return Attributes(find(attribute)); }
   template <class Value>
   std::optional<Value> get(int attribute) const {
      static_assert(std::is_trivially_copyable_v<Value>);
      nlattr const* const found = find(attribute, sizeof(Value));
      if (found == nullptr) return std::nullopt;
      Value value;
      std::memcpy(&value, reinterpret_cast<char const*>(found) + NLA_HDRLEN, sizeof value);
      return value;
   }
   /// Empty if absent; ends before the first NUL.
   std::string text(int attribute) const;

 private:
   nlattr const* find(int attribute, std::size_t size) const;

   nlattr const* first_ = nullptr;
   int size_ = 0;
};

/// The header behind the netlink header; nullptr for a message that is too short for it.
template <class Header>
Header const* headerOf(nlmsghdr const& message) {
   if (message.nlmsg_len < NLMSG_LENGTH(sizeof(Header))) return nullptr;
   return reinterpret_cast<Header const*>(reinterpret_cast<char const*>(&message) + NLMSG_HDRLEN);
}

}  // namespace velm::netlink
