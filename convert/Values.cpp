#include "convert/Values.h"

#include <fmt/format.h>

#include "convert/AddressFamily.h"
#include "platform/velm/errors.h"

namespace VelmSdkRpc::types {
namespace {

unsigned char const* dataOf(std::string const& bytes) { return reinterpret_cast<unsigned char const*>(bytes.data()); }

// Cut and not checked, unlike other narrow integers. What is left may still be too long for its family: the switch says
// so where something is set.
unsigned char lengthOf(std::uint32_t length) { return static_cast<unsigned char>(length); }

}  // namespace

// "do" for a MAC address, "does" for an IP address: clients read both texts as they are.
velm::eth_addr_t eth_addr(std::string const& bytes) {
   switch (bytes.size()) {
      case 0: return {};
      case 6: return velm::eth_addr_t(dataOf(bytes));
      default: throw velm::invalid_argument_error(fmt::format("bytes length {} do not match MAC(6)", bytes.size()));
   }
}

velm::ip_addr_t ip_addr(std::string const& bytes) {
   if (auto const address = addressOf(bytes)) return *address;
   throw velm::invalid_argument_error(fmt::format("bytes length {} does not match IPv4(4) or IPv6(16)", bytes.size()));
}

std::string ip_addr_bytes(velm::ip_addr_t const& address) {
   if (!is_valid(address.af())) {
      throw velm::invalid_argument_error(
         fmt::format("Unknown address family: {}", static_cast<unsigned>(address.af())));
   }
   return {reinterpret_cast<char const*>(address.addr()), velm::address_size(address.af())};
}

velm::intf_id_t convert(velm::remote::IntfId const& message) { return velm::intf_id_t(message.name()); }

velm::remote::IntfId convert(velm::intf_id_t const& intf) {
   velm::remote::IntfId message;
   message.set_name(intf.to_string());
   return message;
}

velm::ip_prefix_t convert(velm::remote::Prefix const& message) {
   return {ip_addr(message.ip_addr()), lengthOf(message.prefix_length())};
}

velm::remote::Prefix convert(velm::ip_prefix_t const& prefix) {
   velm::remote::Prefix message;
   message.set_prefix_length(prefix.prefix_length());
   message.set_ip_addr(prefix.network().addr(), afToSize(prefix));  // without the host bits that a client may have set
   return message;
}

velm::ip_addr_mask_t convert(velm::remote::IpAddrMask const& message) {
   return {ip_addr(message.ip_addr()), lengthOf(message.mask_length())};
}

velm::remote::IpAddrMask convert(velm::ip_addr_mask_t const& mask) {
   velm::remote::IpAddrMask message;
   message.set_ip_addr(mask.addr().addr(), afToSize(mask));
   message.set_mask_length(mask.mask_length());
   return message;
}

velm::mpls_label_t convert(velm::remote::MplsLabel const& message) { return velm::mpls_label_t(message.label()); }

velm::remote::MplsLabel convert(velm::mpls_label_t const& label) {
   velm::remote::MplsLabel message;
   message.set_label(label.label());
   return message;
}

velm::mpls_fec_id_t convert(velm::remote::MplsFecId const& message) { return velm::mpls_fec_id_t(message.id()); }

velm::remote::MplsFecId convert(velm::mpls_fec_id_t const& fec) {
   velm::remote::MplsFecId message;
   message.set_id(fec.id());
   return message;
}

}  // namespace VelmSdkRpc::types
